#include "linux/login_keep_list.h"

#include "keep/worker_extras.h"
#include "linux/firefox_logins.h"
#include "linux/web_origin.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kSavedLogins =
    "SELECT origin_url, signon_realm FROM logins WHERE blacklisted_by_user = 0;";
constexpr const char* kSavedFirefoxLogins = "SELECT hostname FROM moz_logins;";

// Adds the sites of the URLs the query answers, in every column of every row.
void addSitesOfUrls(const std::string& path, const char* query, std::set<std::string>& sites) {
    // Read-only first; a database that the browser holds locked at this
    // moment is read once more as immutable, which takes no lock at all.
    for (bool immutable : {false, true}) {
        Sqlite database;
        if (!database.openExisting(path, true, immutable)) return;
        std::optional<SqlRows> rows = database.executeQuery(query);
        if (!rows) continue;
        for (const SqlRow& row : *rows) {
            for (const auto& [column, value] : row) {
                const std::string* url = sqlText(value);
                if (url == nullptr) continue;
                if (std::optional<std::string> site = LoginKeepList::siteOfLoginUrl(*url)) sites.insert(*site);
            }
        }
        return;
    }
}

}  // namespace

std::optional<std::string> LoginKeepList::siteOfLoginUrl(std::string_view url) {
    std::optional<WebOrigin> origin = WebOrigin::fromUrl(url);
    if (!origin) return std::nullopt;
    return WorkerExtras::siteWithDomainName(origin->host);
}

void LoginKeepList::addChromiumLogins(const std::string& path, std::set<std::string>& sites) {
    addSitesOfUrls(path, kSavedLogins, sites);
}

void LoginKeepList::addFirefoxLoginsJson(std::string_view text, std::set<std::string>& sites) {
    for (const std::string& host : FirefoxLogins::hostsOfLoginsJson(text)) {
        if (std::optional<std::string> site = WorkerExtras::siteWithDomainName(host)) sites.insert(*site);
    }
}

void LoginKeepList::addFirefoxSignons(const std::string& path, std::set<std::string>& sites) {
    addSitesOfUrls(path, kSavedFirefoxLogins, sites);
}

}  // namespace tasselby
