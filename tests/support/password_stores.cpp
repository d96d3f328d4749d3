#include "support/password_stores.h"

#include "support/fixture_database.h"

namespace tasselby::testing {

namespace {

constexpr const char* kSignonsFile = "signons.sqlite";

// The logins table as Firefox creates it (its padding kept); the worker reads
// nothing else of the store.
constexpr const char* kLoginsTable =
    "CREATE TABLE moz_logins (id                  INTEGER PRIMARY KEY,hostname            TEXT NOT NULL,"
    "httpRealm           TEXT,formSubmitURL       TEXT,usernameField       TEXT NOT NULL,"
    "passwordField       TEXT NOT NULL,encryptedUsername   TEXT NOT NULL,encryptedPassword   TEXT NOT NULL,"
    "guid                TEXT,encType             INTEGER,timeCreated         INTEGER,"
    "timeLastUsed        INTEGER,timePasswordChanged INTEGER,timesUsed           INTEGER);"
    "PRAGMA user_version = 5;";
// Encrypted fields are base64 text in the real store; any opaque text will do.
constexpr const char* kInsertLogin =
    "INSERT INTO moz_logins (hostname, formSubmitURL, usernameField, passwordField, encryptedUsername, "
    "encryptedPassword, guid, encType, timeCreated, timeLastUsed, timePasswordChanged, timesUsed) "
    "VALUES (?1, ?1, 'username', 'password', 'MDIEEPgAAAAAAAAA', 'MDoEEPgAAAAAAAAA', ?2, 1, 1700000000000, "
    "1700000000000, 1700000000000, 1)";

std::string signonsPath(const SampleHome& home, const std::string& profile) {
    return home.path(std::string(kFirefoxProfilesRoot) + "/" + profile + "/" + kSignonsFile);
}

}  // namespace

std::string writeFirefoxLogins(const SampleHome& home, const std::string& profile,
                               const std::vector<std::string>& hostnames) {
    home.makeFolder(std::string(kFirefoxProfilesRoot) + "/" + profile);
    return writeFirefoxSignons(signonsPath(home, profile), hostnames);
}

std::string writeFirefoxSignons(const std::string& path, const std::vector<std::string>& hostnames) {
    FixtureDatabase database(path);
    database.run(kLoginsTable);
    std::vector<std::vector<std::optional<std::string>>> rows;
    for (const std::string& hostname : hostnames) {
        rows.push_back({hostname, "{00000000-0000-4000-8000-" + std::to_string(100000000000 + rows.size()) + "}"});
    }
    database.insert(kInsertLogin, rows);
    return path;
}

std::string writeFirefoxSignonsWithoutLogins(const SampleHome& home, const std::string& profile) {
    const std::string path = signonsPath(home, profile);
    FixtureDatabase(path).run("CREATE TABLE moz_disabledHosts (id INTEGER PRIMARY KEY, hostname TEXT UNIQUE)");
    return path;
}

}  // namespace tasselby::testing
