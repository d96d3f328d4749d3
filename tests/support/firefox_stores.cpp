#include "support/firefox_stores.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "support/cookie_stores.h"

namespace tasselby::testing {

namespace fs = std::filesystem;

namespace {

constexpr const char* kCookieSchema =
    "PRAGMA journal_mode = WAL;"
    "PRAGMA user_version = 17;"
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', name TEXT, "
    "value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, creationTime INTEGER, "
    "isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER DEFAULT 0, "
    "schemeMap INTEGER DEFAULT 0, isPartitionedAttributeSet INTEGER DEFAULT 0, updateTime INTEGER, "
    "CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));";

constexpr const char* kStorageIndexSchema =
    "CREATE TABLE database (version INTEGER NOT NULL DEFAULT 0);"
    "INSERT INTO database VALUES (0);"
    "CREATE TABLE cache (valid INTEGER NOT NULL DEFAULT 0, build_id TEXT NOT NULL DEFAULT '');"
    "INSERT INTO cache VALUES (1, '20261101000000');"
    "CREATE TABLE repository (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
    "INSERT INTO repository VALUES (0, 'persistent'), (1, 'temporary'), (2, 'default'), (3, 'private');"
    "CREATE TABLE origin (repository_id INTEGER NOT NULL, suffix TEXT, group_ TEXT NOT NULL, "
    "origin TEXT NOT NULL, client_usages TEXT NOT NULL, usage INTEGER NOT NULL, "
    "last_access_time INTEGER NOT NULL, accessed INTEGER NOT NULL, persisted INTEGER NOT NULL, "
    "PRIMARY KEY (repository_id, origin), FOREIGN KEY (repository_id) REFERENCES repository(id));";

}  // namespace

void writeText(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + path);
}

void writeProfilesIni(const std::string& root, const std::vector<ProfileListing>& profiles) {
    std::string text = "[General]\nStartWithLastProfile=1\nVersion=2\n\n";
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        text += "[Profile" + std::to_string(i) + "]\nName=p" + std::to_string(i) + "\nIsRelative=" +
                (profiles[i].relative ? "1" : "0") + "\nPath=" + profiles[i].path + "\n" +
                (i == 0 ? "Default=1\n" : "") + "\n";
    }
    if (!profiles.empty()) text += "[Install4F96D1932A9F858E]\nDefault=" + profiles[0].path + "\nLocked=1\n";
    writeText(root + "/profiles.ini", text);
}

void writeFirefoxCookies(const std::string& path, const std::vector<FirefoxCookie>& cookies) {
    fs::create_directories(fs::path(path).parent_path());
    fs::remove(path);
    std::string sql = kCookieSchema;
    long id = 0;
    for (const FirefoxCookie& cookie : cookies) {
        ++id;
        sql += "INSERT INTO moz_cookies (id, originAttributes, name, value, host, path, expiry, lastAccessed, "
               "creationTime, isSecure, isHttpOnly, updateTime) VALUES (" +
               std::to_string(id) + ", " + sqlQuoted(cookie.originAttributes) + ", " + sqlQuoted(cookie.name) +
               ", 'v', " + sqlQuoted(cookie.host) + ", '/', 1821312210000, 1763860000000000, " +
               std::to_string(1763860000000000 + id) + ", 0, 0, 1763860000000000);";
    }
    executeSql(path, sql);
}

void writeOriginStorage(const std::string& profile, const std::string& folderName) {
    std::string folder = profile + "/storage/default/" + folderName;
    writeText(folder + "/.metadata-v2", folderName);
    writeText(folder + "/ls/data.sqlite", "local storage of " + folderName);
    writeText(folder + "/ls/usage", "usage");
    writeText(folder + "/idb/706397383dabh_pal.sqlite", "indexeddb of " + folderName);
}

void writeStorageIndex(const std::string& profile, const std::vector<std::string>& origins) {
    std::string path = profile + "/storage.sqlite";
    fs::create_directories(profile);
    fs::remove(path);
    std::string sql = kStorageIndexSchema;
    for (std::size_t i = 0; i < origins.size(); ++i) {
        const std::string& origin = origins[i];
        std::size_t marker = origin.find('^');
        std::string suffix = marker == std::string::npos ? "" : origin.substr(marker);
        for (int repository : i == 0 ? std::vector<int>{2, 1} : std::vector<int>{2}) {
            sql += "INSERT INTO origin VALUES (" + std::to_string(repository) + ", " + sqlQuoted(suffix) + ", " +
                   sqlQuoted(origin.substr(0, marker)) + ", " + sqlQuoted(origin) +
                   ", 'I49152 L24', 49176, 1763860000000000, 1, 0);";
        }
    }
    executeSql(path, sql);
}

std::string serviceWorkerText(const std::vector<std::string>& scopes) {
    std::string text = "12\n";
    for (const std::string& scope : scopes) {
        text += "\n" + scope + "\n" + scope + "sw.js\ntrue\n{6f1b1d6e-6a0c-4b8e-9d0e-1c2b3a4d5e6f}\n0\n"
                "1763860000000000\n1763860000000000\n1763860000000000\n0\ntrue\n#\n";
    }
    return text;
}

void writeLoginsJson(const std::string& profile, const std::vector<std::string>& hostnames) {
    nlohmann::json logins = nlohmann::json::array();
    int id = 0;
    for (const std::string& hostname : hostnames) {
        logins.push_back({{"id", ++id},
                          {"hostname", hostname},
                          {"httpRealm", nullptr},
                          {"formSubmitURL", hostname},
                          {"usernameField", "user"},
                          {"passwordField", "pass"},
                          {"encryptedUsername", "MEIEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcECA=="},
                          {"encryptedPassword", "MEIEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcECB=="},
                          {"guid", "{" + std::to_string(id) + "}"},
                          {"encType", 1}});
    }
    nlohmann::json document = {
        {"nextId", id + 1}, {"logins", logins}, {"potentiallyVulnerablePasswords", nlohmann::json::array()},
        {"version", 3}};
    writeText(profile + "/logins.json", document.dump());
}

}  // namespace tasselby::testing
