#include "app/names.h"
#include "app/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/cookie_store_paths.h"

namespace tasselby {

namespace {

std::string doublingQuotes(const std::string& text) {
    return componentsJoinedByString(componentsSeparatedByString(text, "'"), "''");
}

// The deletion statement for one row: its host and its identifying value,
// quotes doubled, written into the statement. Nothing for a record that is
// not a row or lacks either value (SQL NULL): no statement could name it.
std::optional<std::string> deletionStatement(const CookieRecord& record, const char* format, const char* hostColumn,
                                             const char* keyColumn) {
    const SqlRow* row = std::get_if<SqlRow>(&record);
    if (row == nullptr) return std::nullopt;
    auto host = row->find(hostColumn);
    auto key = row->find(keyColumn);
    if (host == row->end() || key == row->end()) return std::nullopt;
    const std::string* hostText = sqlText(host->second);
    const std::string* keyText = sqlText(key->second);
    if (hostText == nullptr || keyText == nullptr) return std::nullopt;
    return stringWithFormat(format, {doublingQuotes(*hostText), doublingQuotes(*keyText)});
}

// One connection serves the whole list. A failed statement (a locked
// database, say) is passed over: the counts report what was chosen, not
// what went.
void deleteFromMozillaDatabase(const std::string& path, const std::vector<CookieRecord>& records) {
    Sqlite database;
    if (!database.open(path)) return;
    for (const CookieRecord& record : records) {
        if (auto statement = deletionStatement(record, kDeleteMozillaCookie, kMozillaHostColumn, kMozillaKeyColumn)) {
            database.executeQuery(*statement);
        }
    }
}

// A fresh connection for every record: the cost (profiles times records
// openings) is accepted, so that each deletion stands on its own.
void deleteFromChromiumDatabase(Platform& platform, const std::string& path,
                                const std::vector<CookieRecord>& records) {
    for (const CookieRecord& record : records) {
        auto statement = deletionStatement(record, kDeleteChromiumCookie, kChromiumHostColumn, kChromiumKeyColumn);
        if (!statement || !platform.fileExists(path)) continue;
        Sqlite database;
        if (database.open(path)) database.executeQuery(*statement);
    }
}

}  // namespace

std::array<long, 2> WorkerAppDelegate::removeCookies(const std::string& browser, const KeepList& keepCookies) {
    CookieInventory inventory = cookies(browser, keepCookies);
    std::array<long, 2> counts{inventory.cookieCount, inventory.trackingCount};
    const std::vector<CookieRecord>& removalList = inventory.removalList;

    if (browser == kSafari) {
        std::vector<HttpCookie> stored;
        for (const CookieRecord& record : removalList) {
            if (const auto* cookie = std::get_if<HttpCookie>(&record)) stored.push_back(*cookie);
        }
        deleteSafariCookies(stored);
    } else if (browser == kFirefox) {
        // A record does not remember its profile, so the whole list goes to
        // every profile; a row elsewhere with the same host and id goes too.
        for (const std::string& folder : firefoxProfileFolders(*this)) {
            std::string path = appendingPathComponent(folder, kMozillaCookieFile);
            if (platform_.fileExists(path)) deleteFromMozillaDatabase(path, removalList);
        }
    } else if (browser == kCamino) {
        std::string path = expandTilde(kCaminoCookieDatabase);
        if (platform_.fileExists(path)) deleteFromMozillaDatabase(path, removalList);
    } else if (isChromiumFamily(browser)) {
        std::vector<std::string> folders = chromiumProfileFolders(*this, browser);
        // Certificates are pruned before any cookie is deleted.
        deleteChromeChannelID(browser, keepCookies);
        for (const std::string& folder : folders) {
            deleteFromChromiumDatabase(platform_, appendingPathComponent(folder, kChromiumCookieFile), removalList);
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
