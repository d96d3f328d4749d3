#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/cookie_store_paths.h"

namespace tasselby {

namespace {

std::string doublingQuotes(std::string_view text) {
    std::string doubled;
    doubled.reserve(text.size() + 2);
    for (char c : text) {
        doubled.push_back(c);
        if (c == '\'') doubled.push_back('\'');
    }
    return doubled;
}

// The deletion statement of a row that has an identifying value: its host
// and that value, quotes doubled, written into the statement. A row without
// one (SQL NULL) gets none: no statement could name it. Each statement is
// written just before it is sent, so the list holds rows, not statements.
std::optional<std::string> deletionStatement(const CookieRow& row, const char* format) {
    std::optional<std::string_view> key = row.key();
    if (!key) return std::nullopt;
    return stringWithFormat(format, {doublingQuotes(row.host()), doublingQuotes(*key)});
}

// One connection serves the whole list. A failed statement (a locked
// database, say) is passed over: the counts report what was chosen, not
// what went.
void deleteFromMozillaDatabase(Platform& platform, const std::string& path, const std::vector<CookieRow>& rows) {
    Sqlite database;
    if (!database.open(path, platform.readOnly())) return;
    for (const CookieRow& row : rows) {
        if (std::optional<std::string> statement = deletionStatement(row, kDeleteMozillaCookie)) {
            database.executeQuery(*statement);
        }
    }
}

// A fresh connection for every record: the cost (profiles times records
// openings) is accepted, so that each deletion stands on its own.
void deleteFromChromiumDatabase(Platform& platform, const std::string& path, const std::vector<CookieRow>& rows) {
    for (const CookieRow& row : rows) {
        std::optional<std::string> statement = deletionStatement(row, kDeleteChromiumCookie);
        if (!statement || !platform.fileExists(path)) continue;
        Sqlite database;
        if (database.open(path, platform.readOnly())) database.executeQuery(*statement);
    }
}

}  // namespace

std::array<long, 2> WorkerAppDelegate::removeCookies(const std::string& browser, const KeepList& keepCookies) {
    CookieInventory inventory = cookies(browser, keepCookies);
    std::array<long, 2> counts{inventory.cookieCount, inventory.trackingCount};
    std::vector<CookieRow> rows = std::move(inventory.rows);

    if (browser == kSafari) {
        deleteSafariCookies(inventory.storedCookies);
    } else if (browser == kFirefox) {
        // A record does not remember its profile, so the whole list goes to
        // every profile; a row elsewhere with the same host and id goes too.
        for (const std::string& folder : firefoxProfileFolders(*this)) {
            std::string path = appendingPathComponent(folder, kMozillaCookieFile);
            if (platform_.fileExists(path)) deleteFromMozillaDatabase(platform_, path, rows);
        }
    } else if (browser == kCamino) {
        std::string path = expandTilde(kCaminoCookieDatabase);
        if (platform_.fileExists(path)) {
            deleteFromMozillaDatabase(platform_, path, rows);
        }
    } else if (isChromiumFamily(browser)) {
        std::vector<std::string> folders = chromiumProfileFolders(*this, browser);
        // Certificates are pruned before any cookie is deleted.
        deleteChromeChannelID(browser, keepCookies);
        for (const std::string& folder : folders) {
            deleteFromChromiumDatabase(platform_, appendingPathComponent(folder, kChromiumCookieFile), rows);
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
