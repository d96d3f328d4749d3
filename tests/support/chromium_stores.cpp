#include "support/chromium_stores.h"

#include <leveldb/db.h>
#include <leveldb/write_batch.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

#include <unistd.h>

#include "support/cookie_stores.h"
#include "support/sample_home.h"

namespace tasselby::testing {

namespace {

namespace fs = std::filesystem;

void freshDatabase(const std::string& path) {
    fs::create_directories(fs::path(path).parent_path());
    fs::remove(path);
}

constexpr const char* kLoginDataSchema = R"(
CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);
INSERT INTO meta VALUES('version','43'),('last_compatible_version','40');
CREATE TABLE logins (origin_url VARCHAR NOT NULL, action_url VARCHAR, username_element VARCHAR,
  username_value VARCHAR, password_element VARCHAR, password_value BLOB, submit_element VARCHAR,
  signon_realm VARCHAR NOT NULL, date_created INTEGER NOT NULL, blacklisted_by_user INTEGER NOT NULL,
  scheme INTEGER NOT NULL, password_type INTEGER, times_used INTEGER, form_data BLOB, display_name VARCHAR,
  icon_url VARCHAR, federation_url VARCHAR, skip_zero_click INTEGER, generation_upload_status INTEGER,
  possible_username_pairs BLOB, id INTEGER PRIMARY KEY AUTOINCREMENT, date_last_used INTEGER NOT NULL DEFAULT 0,
  moving_blocked_for BLOB, date_password_modified INTEGER NOT NULL DEFAULT 0, sender_email VARCHAR,
  sender_name VARCHAR, date_received INTEGER, sharing_notification_displayed INTEGER NOT NULL DEFAULT 0,
  keychain_identifier BLOB, sender_profile_image_url VARCHAR, date_last_filled INTEGER NOT NULL DEFAULT 0,
  actor_login_approved INTEGER NOT NULL DEFAULT 0,
  UNIQUE (origin_url, username_element, username_value, password_element, signon_realm));
CREATE INDEX logins_signon ON logins (signon_realm);
CREATE TABLE stats (origin_domain VARCHAR NOT NULL, username_value VARCHAR, dismissal_count INTEGER,
  update_time INTEGER NOT NULL, UNIQUE(origin_domain, username_value));
)";

}  // namespace

void writeLoginData(const std::string& path, const std::vector<SavedLogin>& logins) {
    freshDatabase(path);
    std::string sql = kLoginDataSchema;
    for (const SavedLogin& login : logins) {
        sql += "INSERT INTO logins (origin_url, username_value, password_value, signon_realm, date_created, "
               "blacklisted_by_user, scheme) VALUES (" +
               sqlQuoted(login.originUrl) + ", 'alice', X'763130AABBCC', " + sqlQuoted(login.signonRealm) +
               ", 13300000000000000, " + (login.blacklisted ? "1" : "0") + ", 0);\n";
    }
    executeSql(path, sql);
}

namespace {

std::unique_ptr<leveldb::DB> openLevelDb(const std::string& folder, bool create) {
    leveldb::Options options;
    options.create_if_missing = create;
    leveldb::DB* raw = nullptr;
    leveldb::Status status = leveldb::DB::Open(options, folder, &raw);
    if (!status.ok()) throw std::runtime_error("leveldb " + folder + ": " + status.ToString());
    return std::unique_ptr<leveldb::DB>(raw);
}

// A protocol-buffer field of text (wire type 2) or of a number (wire type 0).
void appendVarint(std::string& out, unsigned long long value) {
    while (value >= 0x80) {
        out += static_cast<char>((value & 0x7F) | 0x80);
        value >>= 7;
    }
    out += static_cast<char>(value);
}
void appendText(std::string& out, int field, const std::string& text) {
    appendVarint(out, static_cast<unsigned>(field << 3 | 2));
    appendVarint(out, text.size());
    out += text;
}
void appendNumber(std::string& out, int field, unsigned long long value) {
    appendVarint(out, static_cast<unsigned>(field << 3));
    appendVarint(out, value);
}

}  // namespace

void writeLevelDb(const std::string& folder, const std::map<std::string, std::string>& entries) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    {
        std::unique_ptr<leveldb::DB> db = openLevelDb(folder, true);
        leveldb::WriteBatch batch;
        for (const auto& [key, value] : entries) batch.Put(key, value);
        leveldb::WriteOptions sync;
        sync.sync = true;
        if (!db->Write(sync, &batch).ok()) throw std::runtime_error("cannot write " + folder);
    }
    for (const fs::directory_entry& file : fs::directory_iterator(folder)) {
        fs::permissions(file.path(), fs::perms::owner_read | fs::perms::owner_write);
    }
}

std::map<std::string, std::string> readLevelDb(const std::string& folder) {
    fs::path copy = fs::temp_directory_path() / ("tasselby-leveldb-" + std::to_string(::getpid()));
    fs::remove_all(copy);
    fs::create_directories(copy);
    for (const fs::directory_entry& file : fs::directory_iterator(folder)) {
        if (file.path().filename() != "LOCK") fs::copy_file(file.path(), copy / file.path().filename());
    }
    std::map<std::string, std::string> entries;
    {
        std::unique_ptr<leveldb::DB> db = openLevelDb(copy.string(), false);
        std::unique_ptr<leveldb::Iterator> it(db->NewIterator(leveldb::ReadOptions()));
        for (it->SeekToFirst(); it->Valid(); it->Next()) entries[it->key().ToString()] = it->value().ToString();
    }
    fs::remove_all(copy);
    return entries;
}

std::map<std::string, std::string> localStorageEntries(const std::vector<std::string>& origins) {
    std::map<std::string, std::string> entries = {{"VERSION", "1"}};
    for (const std::string& origin : origins) {
        std::string meta;
        appendNumber(meta, 1, 13300000000000000ULL);
        appendNumber(meta, 2, 40);
        entries["META:" + origin] = meta;
        entries["METAACCESS:" + origin] = meta.substr(0, 9);
        for (const char* key : {"token", "prefs"}) {
            entries["_" + origin + std::string(1, '\0') + "\x01" + key] = std::string("\x01") + "value of " + key;
        }
    }
    return entries;
}

std::map<std::string, std::string> serviceWorkerEntries(const std::vector<std::string>& origins) {
    std::map<std::string, std::string> entries = {{"INITDATA_DB_VERSION", "2"}};
    long id = 1;
    for (const std::string& origin : origins) {
        const std::string number = std::to_string(id);
        std::string registration;
        appendNumber(registration, 1, static_cast<unsigned long long>(id));
        appendText(registration, 2, origin);
        appendText(registration, 3, origin + "sw.js");
        appendNumber(registration, 4, static_cast<unsigned long long>(id));
        entries["REG:" + origin + std::string(1, '\0') + number] = registration;
        entries["REGID_TO_ORIGIN:" + number] = origin;
        entries["RES:" + number + std::string(1, '\0') + number] = origin + "sw.js";
        entries["INITDATA_UNIQUE_ORIGIN:" + origin] = "";
        ++id;
    }
    entries["INITDATA_NEXT_REGISTRATION_ID"] = std::to_string(id);
    entries["INITDATA_NEXT_VERSION_ID"] = std::to_string(id);
    entries["INITDATA_NEXT_RESOURCE_ID"] = std::to_string(id);
    return entries;
}

void writeCacheStorage(const std::string& folder, const std::string& origin) {
    fs::create_directories(fs::path(folder) / "7c3b4f1e-9a52-4e1f-8d3c-2b6a0f9e5d41");
    std::string cache;
    appendText(cache, 1, "cache_one");
    appendText(cache, 2, "7c3b4f1e-9a52-4e1f-8d3c-2b6a0f9e5d41");
    appendNumber(cache, 3, 1024);
    std::string index;
    appendText(index, 1, cache);
    appendText(index, 2, origin);
    appendText(index, 3, origin);
    appendNumber(index, 4, 1);
    appendNumber(index, 5, 1);
    SampleHome(folder).writeFile("index.txt", index);
    SampleHome(folder).writeFile("7c3b4f1e-9a52-4e1f-8d3c-2b6a0f9e5d41/index", "simple cache index");
}

namespace {

// "WebStorage/QuotaManager" with one bucket per storage key
// ("http://a.localhost:8080/"), ids counted from 1, and a "WebStorage/<id>"
// folder with a file for each.
void writeWebStorage(const std::string& webStorage, const std::vector<std::string>& storageKeys) {
    std::string quota = webStorage + "/QuotaManager";
    freshDatabase(quota);
    std::string sql =
        "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
        "INSERT INTO meta VALUES('version','10'),('last_compatible_version','10');"
        "CREATE TABLE buckets(id INTEGER PRIMARY KEY AUTOINCREMENT, storage_key TEXT NOT NULL, host TEXT NOT NULL,"
        " name TEXT NOT NULL, use_count INTEGER NOT NULL, last_accessed INTEGER NOT NULL,"
        " last_modified INTEGER NOT NULL, expiration INTEGER NOT NULL, quota INTEGER NOT NULL,"
        " persistent INTEGER NOT NULL, durability INTEGER NOT NULL) STRICT;"
        "CREATE UNIQUE INDEX buckets_by_storage_key ON buckets(storage_key, name);"
        "CREATE INDEX buckets_by_host ON buckets(host);";
    long id = 1;
    for (const std::string& key : storageKeys) {
        std::string host = key.substr(key.find("://") + 3);
        host = host.substr(0, host.find_first_of(":/^"));
        sql += "INSERT INTO buckets VALUES (" + std::to_string(id) + ", " + sqlQuoted(key) + ", " + sqlQuoted(host) +
               ", '_default', 1, 13300000000000000, 13300000000000000, 0, 0, 0, 1);";
        SampleHome(webStorage).writeFile(std::to_string(id) + "/IndexedDB/indexeddb.leveldb/CURRENT", "MANIFEST-000001\n");
        ++id;
    }
    executeSql(quota, sql);
}

}  // namespace

void writeExampleChromiumProfile(const std::string& profile) {
    fs::remove_all(profile);
    const SampleHome files(profile);
    const std::string alpha = "http://alpha.localhost:18765";
    const std::string beta = "http://beta.localhost:18765";
    const std::string gamma = "http://gamma.localhost:18765";
    const std::string delta = "http://delta.localhost:18765";
    writeLoginData(files.path("Login Data"), {{alpha + "/login", alpha + "/"}, {beta + "/", beta + "/", true}});
    writeLoginData(files.path("Login Data For Account"), {{gamma + "/", gamma + "/"}});
    writeChromiumCookies(files.path("Cookies"), ChromiumCookieSchema::Version24,
                         {{"alpha.localhost", "sid"},
                          {".alpha.localhost", "__utma"},
                          {"beta.localhost", "sid"},
                          {".beta.localhost", "pref", "1", "/", "http://alpha.localhost"},
                          {"gamma.localhost", "sid"},
                          {".delta.localhost", "sid"}});
    std::map<std::string, std::string> localStorage = localStorageEntries({alpha, beta, gamma, delta + "^0http://alpha.localhost"});
    localStorage["META:chrome-extension://abcdefghijklmnop"] = "extension";
    writeLevelDb(files.path("Local Storage/leveldb"), localStorage);
    writeLevelDb(files.path("Service Worker/Database"), serviceWorkerEntries({alpha + "/", beta + "/"}));
    writeCacheStorage(files.path("Service Worker/CacheStorage/a1"), alpha + "/");
    writeCacheStorage(files.path("Service Worker/CacheStorage/b2"), beta + "/");
    for (const char* folder : {"http_alpha.localhost_18765.indexeddb.leveldb", "http_beta.localhost_18765.indexeddb.leveldb",
                               "http_beta.localhost_18765.indexeddb.blob", "chrome-extension_abcdefghijklmnop_0.indexeddb.leveldb"}) {
        files.writeFile(std::string("IndexedDB/") + folder + "/CURRENT", "MANIFEST-000001\n");
    }
    writeWebStorage(files.path("WebStorage"), {alpha + "/", delta + "/", "chrome-extension://abcdefghijklmnop/"});
    files.writeFile("databases/http_beta.localhost_18765/1", "web sql");
    executeSql(files.path("databases/Databases.db"),
               "CREATE TABLE Databases (id INTEGER PRIMARY KEY AUTOINCREMENT, origin TEXT NOT NULL, name TEXT NOT NULL,"
               " description TEXT NOT NULL, estimated_size INTEGER NOT NULL);"
               "INSERT INTO Databases (origin, name, description, estimated_size) VALUES"
               " ('http_beta.localhost_18765', 'db', '', 5);");
    files.writeFile("Local Storage/http_delta.localhost_18765.localstorage", "old local storage");
    files.writeFile("Local Storage/http_delta.localhost_18765.localstorage-journal", "");
    files.writeFile("Session Storage/CURRENT", "MANIFEST-000001\n");
    files.writeFile("GPUCache/data_0", "gpu");
    files.writeFile("Cache/Cache_Data/index", "http cache");
    const std::string flash = "Pepper Data/Shockwave Flash/WritableRoot/#SharedObjects/RANDOM12/";
    files.writeFile(flash + "beta.localhost/game.sol", "sol");
    files.writeFile(flash + "alpha.localhost/game.sol", "sol");
    files.writeFile("Extension Cookies", "never touched");
    files.writeFile("Preferences", "{}");
}

}  // namespace tasselby::testing
