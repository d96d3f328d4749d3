#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/cookie_store_paths.h"

namespace tasselby {

namespace {

std::string doublingQuotes(const std::string& text) {
    std::string doubled;
    doubled.reserve(text.size() + 2);
    for (char c : text) {
        doubled.push_back(c);
        if (c == '\'') doubled.push_back('\'');
    }
    return doubled;
}

// The deletion statement of every record that is a row holding both values,
// in list order: its host and its identifying value, quotes doubled, written
// into the statement. A record that lacks either value (SQL NULL) gets none:
// no statement could name it. Built once and sent to every profile; the
// records are used up, so their rows are freed before the deletions start.
std::vector<std::string> deletionStatements(std::vector<CookieRecord> records, const char* format,
                                            const char* hostColumn, const char* keyColumn) {
    std::vector<std::string> statements;
    statements.reserve(records.size());
    for (const CookieRecord& record : records) {
        const SqlRow* row = std::get_if<SqlRow>(&record);
        if (row == nullptr) continue;
        auto host = row->find(hostColumn);
        auto key = row->find(keyColumn);
        if (host == row->end() || key == row->end()) continue;
        const std::string* hostText = sqlText(host->second);
        const std::string* keyText = sqlText(key->second);
        if (hostText == nullptr || keyText == nullptr) continue;
        statements.push_back(stringWithFormat(format, {doublingQuotes(*hostText), doublingQuotes(*keyText)}));
    }
    return statements;
}

// One connection serves the whole list. A failed statement (a locked
// database, say) is passed over: the counts report what was chosen, not
// what went.
void deleteFromMozillaDatabase(Platform& platform, const std::string& path, const std::vector<std::string>& statements) {
    Sqlite database;
    if (!database.open(path, platform.readOnly())) return;
    for (const std::string& statement : statements) database.executeQuery(statement);
}

// A fresh connection for every record: the cost (profiles times records
// openings) is accepted, so that each deletion stands on its own.
void deleteFromChromiumDatabase(Platform& platform, const std::string& path,
                                const std::vector<std::string>& statements) {
    for (const std::string& statement : statements) {
        if (!platform.fileExists(path)) continue;
        Sqlite database;
        if (database.open(path, platform.readOnly())) database.executeQuery(statement);
    }
}

}  // namespace

std::array<long, 2> WorkerAppDelegate::removeCookies(const std::string& browser, const KeepList& keepCookies) {
    CookieInventory inventory = cookies(browser, keepCookies);
    std::array<long, 2> counts{inventory.cookieCount, inventory.trackingCount};
    std::vector<CookieRecord> removalList = std::move(inventory.removalList);

    if (browser == kSafari) {
        std::vector<HttpCookie> stored;
        for (const CookieRecord& record : removalList) {
            if (const auto* cookie = std::get_if<HttpCookie>(&record)) stored.push_back(*cookie);
        }
        deleteSafariCookies(stored);
    } else if (browser == kFirefox) {
        // A record does not remember its profile, so the whole list goes to
        // every profile; a row elsewhere with the same host and id goes too.
        std::vector<std::string> statements =
            deletionStatements(std::move(removalList), kDeleteMozillaCookie, kMozillaHostColumn, kMozillaKeyColumn);
        for (const std::string& folder : firefoxProfileFolders(*this)) {
            std::string path = appendingPathComponent(folder, kMozillaCookieFile);
            if (platform_.fileExists(path)) deleteFromMozillaDatabase(platform_, path, statements);
        }
    } else if (browser == kCamino) {
        std::string path = expandTilde(kCaminoCookieDatabase);
        if (platform_.fileExists(path)) {
            deleteFromMozillaDatabase(platform_, path, deletionStatements(std::move(removalList), kDeleteMozillaCookie,
                                                               kMozillaHostColumn, kMozillaKeyColumn));
        }
    } else if (isChromiumFamily(browser)) {
        std::vector<std::string> folders = chromiumProfileFolders(*this, browser);
        // Certificates are pruned before any cookie is deleted.
        deleteChromeChannelID(browser, keepCookies);
        std::vector<std::string> statements =
            deletionStatements(std::move(removalList), kDeleteChromiumCookie, kChromiumHostColumn, kChromiumKeyColumn);
        for (const std::string& folder : folders) {
            deleteFromChromiumDatabase(platform_, appendingPathComponent(folder, kChromiumCookieFile), statements);
        }
    }
    return counts;
}

void WorkerAppDelegate::deleteSafariCookies(const std::vector<HttpCookie>& cookiesToDelete) {
    HttpCookieStorage& storage = platform_.sharedHTTPCookieStorage();
    for (const HttpCookie& cookie : cookiesToDelete) storage.deleteCookie(cookie);
    // One write for the whole batch. It cannot wait for the process to end:
    // the run ends with an exit that runs no destructor of the platform.
    storage.flush();
}

}  // namespace tasselby
