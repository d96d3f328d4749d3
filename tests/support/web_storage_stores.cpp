#include "support/web_storage_stores.h"

#include "support/fixture_database.h"
#include "support/password_stores.h"

namespace tasselby::testing {

namespace {

constexpr const char* kSafariDatabasesSchema =
    "CREATE TABLE Origins (origin TEXT UNIQUE ON CONFLICT REPLACE, quota INTEGER NOT NULL ON CONFLICT FAIL);"
    "CREATE TABLE Databases (guid INTEGER PRIMARY KEY AUTOINCREMENT, origin TEXT, name TEXT, displayName TEXT, "
    "estimatedSize INTEGER, path TEXT);";
constexpr const char* kChromiumDatabasesSchema =
    "CREATE TABLE meta (key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "INSERT INTO meta VALUES ('version', '2'), ('last_compatible_version', '1');"
    "CREATE TABLE Databases (id INTEGER PRIMARY KEY AUTOINCREMENT, origin TEXT NOT NULL, name TEXT NOT NULL, "
    "description TEXT NOT NULL, estimated_size INTEGER NOT NULL);"
    "CREATE INDEX origin_index ON Databases (origin);"
    "CREATE UNIQUE INDEX unique_index ON Databases (origin, name);";
constexpr const char* kWebDatabaseSchema =
    "CREATE TABLE __WebKitDatabaseInfoTable__ (key TEXT NOT NULL ON CONFLICT FAIL UNIQUE ON CONFLICT REPLACE,"
    "value TEXT NOT NULL ON CONFLICT FAIL);"
    "INSERT INTO __WebKitDatabaseInfoTable__ VALUES ('WebKitDatabaseVersionKey', '1.0');"
    "CREATE TABLE notes (id INTEGER PRIMARY KEY, body TEXT);";
constexpr const char* kLocalStorageSchema =
    "PRAGMA encoding = \"UTF-16\";"
    "CREATE TABLE ItemTable (key TEXT UNIQUE ON CONFLICT REPLACE, value BLOB NOT NULL ON CONFLICT FAIL);"
    "INSERT INTO ItemTable VALUES ('visits', X'330000');";
constexpr const char* kStorageTrackerSchema = "CREATE TABLE Origins (origin TEXT UNIQUE ON CONFLICT REPLACE, path TEXT);";
constexpr const char* kWebappsstoreSchema =
    "CREATE TABLE webappsstore2 (scope TEXT, key TEXT, value TEXT, secure INTEGER, owner TEXT);"
    "CREATE UNIQUE INDEX scope_key_index ON webappsstore2(scope, key);";

using Rows = std::vector<std::vector<std::optional<std::string>>>;

}  // namespace

std::string WebStorageStores::writeDatabases(const std::string& folder, DatabasesFormat format,
                                             const std::vector<WebDatabase>& databases) const {
    std::string index = home_.path(folder) + "/Databases.db";
    FixtureDatabase tracker(index);
    Rows rows;
    bool safari = format == DatabasesFormat::Safari;
    tracker.run(safari ? kSafariDatabasesSchema : kChromiumDatabasesSchema);
    for (std::size_t i = 0; i < databases.size(); ++i) {
        const WebDatabase& database = databases[i];
        // Safari names a database's file itself; the Chromium family names it by the row's id.
        std::string file = safari ? "000000000000000" + std::to_string(i + 1) + ".db" : std::to_string(i + 1);
        rows.push_back({database.origin, database.name, file});
        FixtureDatabase(home_.path(folder) + "/" + database.origin + "/" + file).run(kWebDatabaseSchema);
    }
    if (safari) {
        tracker.insert("INSERT INTO Databases (origin, name, displayName, estimatedSize, path) "
                       "VALUES (?1, ?2, ?2, 5242880, ?3);",
                       rows);
        for (auto& row : rows) row.resize(1);
        tracker.insert("INSERT INTO Origins VALUES (?1, 5242880);", rows);
    } else {
        for (auto& row : rows) row.resize(2);
        tracker.insert("INSERT OR REPLACE INTO Databases (origin, name, description, estimated_size) "
                       "VALUES (?1, ?2, ?2, 5242880);",
                       rows);
    }
    return index;
}

std::string WebStorageStores::writeLocalStorage(const std::string& folder, const std::string& origin,
                                                bool journal) const {
    std::string file = folder + "/" + origin + ".localstorage";
    FixtureDatabase(home_.path(file)).run(kLocalStorageSchema);
    if (journal) home_.writeFile(file + "-journal", std::string(512, '\0'));
    return home_.path(file);
}

std::string WebStorageStores::writeStorageTracker(const std::string& folder,
                                                  const std::vector<std::string>& origins) const {
    std::string path = home_.path(folder) + "/StorageTracker.db";
    FixtureDatabase tracker(path);
    tracker.run(kStorageTrackerSchema);
    Rows rows;
    for (const std::string& origin : origins) {
        rows.push_back({origin, home_.path(folder) + "/" + origin + ".localstorage"});
    }
    tracker.insert("INSERT INTO Origins VALUES (?1, ?2);", rows);
    return path;
}

std::string WebStorageStores::writeWebappsstore(const std::string& path, const std::vector<MozillaItem>& items) const {
    std::string full = home_.path(path);
    FixtureDatabase store(full);
    store.run(kWebappsstoreSchema);
    Rows rows;
    for (const MozillaItem& item : items) rows.push_back({item.scope, item.key});
    store.insert("INSERT INTO webappsstore2 VALUES (?1, ?2, 'v', 0, '');", rows);
    return full;
}

std::optional<std::vector<std::string>> WebStorageStores::column(const std::string& database,
                                                                 const std::string& sql) const {
    return columnValues(database.starts_with("/") ? database : home_.path(database), sql);
}

void WebStorageStores::writeSample(const std::string& firefoxProfile) const {
    const std::vector<std::string> origins = {"https_www.example.com_0", "http_tracker.example.net_0",
                                              "https_mail.example.co.uk_443"};
    writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari,
                   {{origins[0]}, {origins[1]}, {origins[1], "stats"}, {"safari-extension_com.example.ext-0123456789_0"}});
    for (const std::string& origin : origins) writeLocalStorage(kSafariLocalStorageFolder, origin, false);
    writeLocalStorage(kSafariLocalStorageFolder, "safari-extension_com.example.ext-0123456789_0", false);
    writeStorageTracker(kSafariLocalStorageFolder, origins);

    std::vector<std::string> chromiumFamily;
    for (const std::string profile : {"Default", "Profile 1"}) {
        chromiumFamily.push_back(std::string(kChromeRoot) + "/" + profile);
        chromiumFamily.push_back(std::string(kChromiumRoot) + "/" + profile);
    }
    chromiumFamily.push_back(kOperaRoot);
    for (const std::string& root : chromiumFamily) {
        writeDatabases(root + "/databases", DatabasesFormat::Chromium,
                       {{origins[0]}, {origins[1]}, {"chrome-extension_abcdefghijklmnop_0"}});
        for (const std::string& origin : origins) writeLocalStorage(root + "/Local Storage", origin);
        writeLocalStorage(root + "/Local Storage", "chrome-extension_abcdefghijklmnop_0", false);
    }

    const std::vector<MozillaItem> scopes = {{"moc.elpmaxe.www.:https:443", "a"},
                                             {"moc.elpmaxe.www.:https:443", "b"},
                                             {"ten.elpmaxe.rekcart.:http:80", "a"},
                                             {"ku.oc.elpmaxe.liam.:https:443", "a"}};
    writeWebappsstore(kCaminoWebappsstore, scopes);
    writeWebappsstore(std::string(kFirefoxProfilesRoot) + "/" + firefoxProfile + "/webappsstore.sqlite", scopes);
}

}  // namespace tasselby::testing
