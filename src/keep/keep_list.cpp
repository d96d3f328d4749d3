#include <set>

#include "base/text.h"
#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr const char* kFormAuthentication = "form";
constexpr const char* kLocalhost = "localhost";
// Last labels of names that are never a site worth keeping: machines on the
// local network and certificate entries.
constexpr const char* kUnkeptLastLabels[] = {"local", "certificate"};

constexpr const char* kFirefoxProfiles = "~/Library/Application Support/Firefox/Profiles/";
constexpr const char* kSignonsFile = "signons.sqlite";
constexpr const char* kLoginsQuery = "SELECT * FROM moz_logins;";
constexpr const char* kHostnameColumn = "hostname";

bool isKeptServer(const std::string& site) {
    if (site == kLocalhost) return false;
    const std::string last = componentsSeparatedByString(site, ".").back();
    for (const char* unkept : kUnkeptLastLabels) {
        if (last == unkept) return false;
    }
    return true;
}

// Adds the sites of one profile's saved logins; a store that cannot be read adds nothing.
void addFirefoxLoginSites(const std::string& signons, bool readOnly, std::set<std::string>& sites) {
    Sqlite database;
    if (!database.open(signons, readOnly)) return;
    std::optional<SqlRows> rows = database.executeQuery(kLoginsQuery);
    if (!rows) return;
    for (const SqlRow& row : *rows) {
        auto hostname = row.find(kHostnameColumn);
        if (hostname == row.end()) continue;
        const std::string* text = sqlText(hostname->second);
        if (text == nullptr) continue;
        if (std::optional<std::string> site = WorkerExtras::siteWithDomainName(*text)) sites.insert(*site);
    }
}

}  // namespace

KeepList WorkerAppDelegate::getSmartFavouritesArray() {
    std::set<std::string> sites;
    std::optional<KeychainError> error;
    std::optional<std::vector<KeychainAttributes>> accounts = WorkerExtras::allAccounts(platform_, &error);
    // Saved passwords that are there but cannot be read must not read as
    // none: every site's data would go. No keyring at all is no list.
    if (error && error->code == kErrSecInteractionNotAllowed) throw RunDeferred("the keyring is locked");
    if (error && error->code == kErrSecDataNotAvailable) {
        throw RunDeferred("the keyring stopped answering before every saved password was read");
    }
    if (!accounts) return {};
    for (const KeychainAttributes& attributes : *accounts) {
        auto type = attributes.find(kSecAttrAuthenticationType);
        if (type == attributes.end() || type->second != kFormAuthentication) continue;
        auto server = attributes.find(kSecAttrServer);
        if (server == attributes.end()) continue;
        std::optional<std::string> site = WorkerExtras::siteWithDomainName(server->second);
        if (site && isKeptServer(*site)) sites.insert(*site);
    }
    return {sites.begin(), sites.end()};
}

KeepList WorkerAppDelegate::getFirefoxSmartFavouritesArray() {
    std::set<std::string> sites;
    const std::string profiles = expandTilde(kFirefoxProfiles);
    for (const std::string& entry : platform_.contentsOfDirectory(profiles)) {
        const std::string profile = appendingPathComponent(profiles, entry);
        // A link to a profile elsewhere is not followed.
        if (platform_.fileType(profile) != FileType::Directory) continue;
        const std::string signons = appendingPathComponent(profile, kSignonsFile);
        // Opening a missing file would create it.
        if (!platform_.fileExists(signons)) continue;
        addFirefoxLoginSites(signons, platform_.readOnly(), sites);
    }
    return {sites.begin(), sites.end()};
}

}  // namespace tasselby
