#include "support/password_stores.h"

#include <stdexcept>

#include "storage/sqlite.h"

namespace tasselby::testing {

namespace {

constexpr const char* kSignonsFile = "signons.sqlite";

// Firefox pads the column definitions, and the stored schema keeps the padding.
constexpr const char* kSignonsSchema[] = {
    "CREATE TABLE moz_logins (id                  INTEGER PRIMARY KEY,hostname            TEXT NOT NULL,"
    "httpRealm           TEXT,formSubmitURL       TEXT,usernameField       TEXT NOT NULL,"
    "passwordField       TEXT NOT NULL,encryptedUsername   TEXT NOT NULL,encryptedPassword   TEXT NOT NULL,"
    "guid                TEXT,encType             INTEGER,timeCreated         INTEGER,"
    "timeLastUsed        INTEGER,timePasswordChanged INTEGER,timesUsed           INTEGER)",
    "CREATE TABLE moz_disabledHosts (id                 INTEGER PRIMARY KEY,"
    "hostname           TEXT UNIQUE ON CONFLICT REPLACE)",
    "CREATE TABLE moz_deleted_logins (id                  INTEGER PRIMARY KEY,guid                TEXT,"
    "timeDeleted         INTEGER)",
    "CREATE INDEX IF NOT EXISTS moz_logins_hostname_index ON moz_logins(hostname)",
    "CREATE INDEX IF NOT EXISTS moz_logins_hostname_formSubmitURL_index ON moz_logins(hostname, formSubmitURL)",
    "CREATE INDEX IF NOT EXISTS moz_logins_hostname_httpRealm_index ON moz_logins(hostname, httpRealm)",
    "CREATE INDEX IF NOT EXISTS moz_logins_guid_index ON moz_logins(guid)",
    "CREATE INDEX IF NOT EXISTS moz_logins_encType_index ON moz_logins(encType)",
    "PRAGMA user_version = 5",
};

constexpr const char* kInsertLogin =
    "INSERT INTO moz_logins (hostname, httpRealm, formSubmitURL, usernameField, passwordField, encryptedUsername, "
    "encryptedPassword, guid, encType, timeCreated, timeLastUsed, timePasswordChanged, timesUsed) "
    "VALUES (?, NULL, ?, 'username', 'password', ?, ?, ?, 1, ?, ?, ?, 1)";

// Encrypted fields are base64 text in the real store; any opaque text will do.
constexpr const char* kEncryptedUsername = "MDIEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcECGFsaWNlAAAA";
constexpr const char* kEncryptedPassword = "MDoEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcEEHNlY3JldAAAAAAAAA==";
constexpr std::int64_t kLoginTimeMilliseconds = 1700000000000;

std::string openStore(const SampleHome& home, const std::string& profile, Sqlite& database) {
    const std::string path = home.path(std::string(kFirefoxProfilesRoot) + "/" + profile + "/" + kSignonsFile);
    home.makeFolder(std::string(kFirefoxProfilesRoot) + "/" + profile);
    if (!database.open(path)) throw std::runtime_error("cannot create " + path);
    return path;
}

void run(Sqlite& database, const std::string& sql, const SqlArguments& arguments = {}) {
    if (!database.executeNonQuery(sql, arguments)) throw std::runtime_error(sql + ": " + database.errorMessage());
}

}  // namespace

std::string writeFirefoxLogins(const SampleHome& home, const std::string& profile,
                               const std::vector<std::string>& hostnames) {
    home.makeFolder(std::string(kFirefoxProfilesRoot) + "/" + profile);
    return writeFirefoxSignons(home.path(std::string(kFirefoxProfilesRoot) + "/" + profile + "/" + kSignonsFile),
                               hostnames);
}

std::string writeFirefoxSignons(const std::string& path, const std::vector<std::string>& hostnames) {
    Sqlite database;
    if (!database.open(path)) throw std::runtime_error("cannot create " + path);
    for (const char* sql : kSignonsSchema) run(database, sql);
    std::int64_t id = 0;
    for (const std::string& hostname : hostnames) {
        const std::string guid = "{00000000-0000-4000-8000-" + std::to_string(100000000000 + ++id) + "}";
        run(database, kInsertLogin,
            {hostname, hostname, std::string(kEncryptedUsername), std::string(kEncryptedPassword), guid,
             kLoginTimeMilliseconds, kLoginTimeMilliseconds, kLoginTimeMilliseconds});
    }
    return path;
}

std::string writeFirefoxSignonsWithoutLogins(const SampleHome& home, const std::string& profile) {
    Sqlite database;
    const std::string path = openStore(home, profile, database);
    run(database, kSignonsSchema[1]);
    return path;
}

}  // namespace tasselby::testing
