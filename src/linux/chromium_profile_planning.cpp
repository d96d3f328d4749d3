// The planning half of the Chromium-family cleaner: every function here only
// reads the profile's stores.
#include <fstream>
#include <iterator>
#include <set>

#include "base/text.h"
#include "linux/chromium_profile_cleaner.h"
#include "linux/chromium_storage_keys.h"
#include "linux/skip_reasons.h"
#include "linux/web_origin.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

// The stores, as the report names them, and where they lie in a profile.
constexpr const char* kCookieFiles[] = {"Cookies", "Network/Cookies"};
constexpr const char* kLocalStorage = "Local Storage";
constexpr const char* kLocalStorageLevelDb = "Local Storage/leveldb";
constexpr const char* kLocalStorageVersionKey = "VERSION";
constexpr const char* kLocalStorageVersion = "1";
constexpr const char* kServiceWorkers = "Service Workers";
constexpr const char* kServiceWorkerDatabase = "Service Worker/Database";
constexpr const char* kServiceWorkerVersionKey = "INITDATA_DB_VERSION";
constexpr const char* kIndexedDb = "IndexedDB";
constexpr const char* kCacheStorage = "Cache Storage";
constexpr const char* kCacheStorageFolder = "Service Worker/CacheStorage";
constexpr const char* kCacheStorageIndex = "index.txt";
constexpr const char* kSiteStorage = "Site Storage";
constexpr const char* kWebStorageFolder = "WebStorage";
constexpr const char* kQuota = "Quota";
constexpr const char* kQuotaDatabase = "QuotaManager";
constexpr const char* kSelectBuckets = "SELECT id, storage_key, host FROM buckets;";
constexpr const char* kDeleteBucket = "DELETE FROM buckets WHERE id = ?;";
constexpr const char* kWebSql = "Web SQL";
constexpr const char* kWebSqlFolder = "databases";
constexpr const char* kWebSqlIndex = "Databases.db";
constexpr const char* kDeleteWebSqlOrigin = "DELETE FROM Databases WHERE origin = ?;";
constexpr const char* kSessionStorage = "Session Storage";
constexpr const char* kCache = "Cache";
constexpr const char* kProfileCaches[] = {"GPUCache", "DawnWebGPUCache"};
constexpr const char* kCacheFolderStores[] = {"Cache", "Code Cache"};
constexpr const char* kPepperSharedObjects = "Pepper Data/Shockwave Flash/WritableRoot/#SharedObjects";

constexpr std::string_view kIndexedDbSuffixes[] = {".indexeddb.leveldb", ".indexeddb.blob"};
constexpr std::string_view kLegacyLocalStorageSuffix = ".localstorage";
constexpr std::string_view kJournalSuffix = "-journal";

std::string profileFile(const BrowserProfile& profile, const char* relative) {
    return appendingPathComponent(profile.path, relative);
}

std::optional<std::string> readBinaryFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return std::nullopt;
    return bytes;
}

}  // namespace

bool ChromiumProfileCleaner::isRealFolder(const std::string& path) {
    return platform_.fileType(path) == FileType::Directory;
}

ChromiumProfilePlan ChromiumProfileCleaner::plan(const BrowserProfile& profile, CleaningRun& run) {
    ChromiumProfilePlan plan;
    planCookies(profile, plan);
    planLocalStorage(profile, plan, run);
    planServiceWorkers(profile, plan, run);
    planIndexedDb(profile, plan, run);
    planCacheStorage(profile, plan, run);
    planSiteStorage(profile, plan, run);
    planLegacyStores(profile, plan, run);
    planWholeStores(profile, plan);
    planFlash(profile, plan, run);
    return plan;
}

void ChromiumProfileCleaner::planCookies(const BrowserProfile& profile, ChromiumProfilePlan& plan) {
    for (const char* file : kCookieFiles) {
        std::string path = profileFile(profile, file);
        // A link could lead out of the profile; the browser never makes one here.
        if (platform_.fileType(path) == FileType::Regular) plan.cookieFiles.push_back(path);
    }
}

std::unique_ptr<LevelDb> ChromiumProfileCleaner::readLevelDb(const std::string& store, const std::string& folder,
                                                             ChromiumProfilePlan& plan) {
    FileType type = platform_.fileType(folder);
    if (type == FileType::None) return nullptr;
    if (type != FileType::Directory) {
        plan.skips.push_back({store, folder, kReasonUnknownFormat, false});
        return nullptr;
    }
    LevelDb::Status status = LevelDb::Status::Locked;
    // The lock is asked about without taking it; a held store is not even copied.
    std::unique_ptr<LevelDb> database = LevelDb::lockHeld(folder) ? nullptr : LevelDb::openCopy(folder, &status);
    if (status == LevelDb::Status::Locked) plan.skips.push_back({store, folder, kReasonLocked, true});
    if (status == LevelDb::Status::Unreadable || status == LevelDb::Status::Missing) {
        plan.skips.push_back({store, folder, kReasonUnknownFormat, false});
    }
    return database;
}

void ChromiumProfileCleaner::planLocalStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                              CleaningRun& run) {
    const std::string folder = profileFile(profile, kLocalStorageLevelDb);
    std::unique_ptr<LevelDb> database = readLevelDb(kLocalStorage, folder, plan);
    if (!database) return;
    // Without its version key the store is not of the format we know.
    if (database->get(kLocalStorageVersionKey) != std::optional<std::string>(kLocalStorageVersion)) {
        plan.skips.push_back({kLocalStorage, folder, kReasonUnknownFormat, false});
        return;
    }
    ChromiumProfilePlan::KeyDeletion deletion{kLocalStorage, folder, {}, {}};
    std::set<std::string> origins;
    bool read = database->scan("", [&](std::string_view key, std::string_view) {
        std::optional<std::string_view> storageKey = ChromiumStorageKeys::localStorageKey(key);
        if (!storageKey) return true;
        std::optional<WebOrigin> origin = WebOrigin::fromUrl(*storageKey);
        if (!origin || run.isKeptHost(origin->host)) return true;
        deletion.keys.emplace_back(key);
        if (origins.insert(origin->text()).second) deletion.origins.push_back(origin->text());
        return true;
    });
    if (!read) {
        plan.skips.push_back({kLocalStorage, folder, kReasonUnknownFormat, false});
        return;
    }
    if (!deletion.keys.empty()) plan.keyDeletions.push_back(std::move(deletion));
}

void ChromiumProfileCleaner::planServiceWorkers(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                                CleaningRun& run) {
    const std::string folder = profileFile(profile, kServiceWorkerDatabase);
    std::unique_ptr<LevelDb> database = readLevelDb(kServiceWorkers, folder, plan);
    if (!database) return;
    if (!database->get(kServiceWorkerVersionKey)) {
        plan.skips.push_back({kServiceWorkers, folder, kReasonUnknownFormat, false});
        return;
    }
    ChromiumStorageKeys::Entries entries;
    bool read = database->scan("", [&](std::string_view key, std::string_view value) {
        entries.emplace_back(key, value);
        return true;
    });
    if (!read) {
        plan.skips.push_back({kServiceWorkers, folder, kReasonUnknownFormat, false});
        return;
    }
    ChromiumStorageKeys::ServiceWorkerDeletion judged = ChromiumStorageKeys::serviceWorkerDeletion(
        entries, [&](const std::string& host) { return run.isKeptHost(host); });
    ChromiumProfilePlan::KeyDeletion deletion{kServiceWorkers, folder, std::move(judged.keys), std::move(judged.origins)};
    if (!deletion.keys.empty()) plan.keyDeletions.push_back(std::move(deletion));
}

void ChromiumProfileCleaner::planIndexedDb(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run) {
    const std::string folder = profileFile(profile, kIndexedDb);
    if (!isRealFolder(folder)) return;
    // The folders are never opened: their key order is the browser's own.
    for (const std::string& name : platform_.contentsOfDirectory(folder)) {
        for (std::string_view suffix : kIndexedDbSuffixes) {
            if (!name.ends_with(suffix)) continue;
            std::optional<WebOrigin> origin =
                WebOrigin::fromIdentifier(std::string_view(name).substr(0, name.size() - suffix.size()));
            if (!origin || run.isKeptHost(origin->host)) continue;
            plan.removals.push_back({kIndexedDb, appendingPathComponent(folder, name), origin->text(), folder});
        }
    }
}

void ChromiumProfileCleaner::planCacheStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                              CleaningRun& run) {
    const std::string folder = profileFile(profile, kCacheStorageFolder);
    if (!isRealFolder(folder)) return;
    for (const std::string& name : platform_.contentsOfDirectory(folder)) {
        const std::string cache = appendingPathComponent(folder, name);
        // A link is not followed to read what it leads to.
        if (!isRealFolder(cache)) continue;
        const std::string index = appendingPathComponent(cache, kCacheStorageIndex);
        std::optional<std::string> bytes;
        if (platform_.fileType(index) == FileType::Regular) bytes = readBinaryFile(index);
        std::optional<std::string> named = bytes ? ChromiumStorageKeys::cacheStorageOrigin(*bytes) : std::nullopt;
        if (!named) {
            plan.skips.push_back({kCacheStorage, cache, kReasonUnknownFormat, false});
            continue;
        }
        std::optional<WebOrigin> origin = WebOrigin::fromUrl(*named);
        if (!origin || run.isKeptHost(origin->host)) continue;
        plan.removals.push_back({kCacheStorage, cache, origin->text(), folder});
    }
}

void ChromiumProfileCleaner::planSiteStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                             CleaningRun& run) {
    const std::string folder = profileFile(profile, kWebStorageFolder);
    const std::string quota = appendingPathComponent(folder, kQuotaDatabase);
    if (!isRealFolder(folder) || platform_.fileType(quota) != FileType::Regular) return;
    Sqlite database;
    std::optional<SqlRows> buckets;
    if (database.openExisting(quota, true)) buckets = database.executeQuery(kSelectBuckets);
    if (!buckets) {
        // The browser tolerates stale quota rows; the other stores are cleaned all the same.
        plan.skips.push_back({kQuota, quota, kReasonUnknownFormat, false});
        return;
    }
    ChromiumProfilePlan::RowDeletion rows{kQuota, quota, kDeleteBucket, {}};
    for (const SqlRow& bucket : *buckets) {
        const std::string* id = sqlText(bucket.at("id"));
        const std::string* storageKey = sqlText(bucket.at("storage_key"));
        const std::string* host = sqlText(bucket.at("host"));
        if (id == nullptr || storageKey == nullptr) continue;
        std::optional<WebOrigin> origin = WebOrigin::fromUrl(*storageKey);
        if (!origin || run.isKeptHost(host != nullptr ? *host : origin->host)) continue;
        rows.values.push_back(*id);
        std::string bucketFolder = appendingPathComponent(folder, *id);
        if (platform_.fileType(bucketFolder) != FileType::None) {
            plan.removals.push_back({kSiteStorage, bucketFolder, origin->text(), folder});
        }
    }
    if (!rows.values.empty()) plan.rowDeletions.push_back(std::move(rows));
}

void ChromiumProfileCleaner::planLegacyStores(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                              CleaningRun& run) {
    // Web SQL: one folder per origin identifier, listed in "Databases.db".
    const std::string webSql = profileFile(profile, kWebSqlFolder);
    if (isRealFolder(webSql)) {
        ChromiumProfilePlan::RowDeletion rows{kWebSql, appendingPathComponent(webSql, kWebSqlIndex),
                                              kDeleteWebSqlOrigin, {}};
        for (const std::string& name : platform_.contentsOfDirectory(webSql)) {
            std::optional<WebOrigin> origin = WebOrigin::fromIdentifier(name);
            if (!origin || run.isKeptHost(origin->host)) continue;
            plan.removals.push_back({kWebSql, appendingPathComponent(webSql, name), origin->text(), webSql});
            rows.values.push_back(name);
        }
        if (!rows.values.empty() && platform_.fileType(rows.database) == FileType::Regular) {
            plan.rowDeletions.push_back(std::move(rows));
        }
    }
    // Local storage of older versions: one SQLite file per origin identifier.
    const std::string localStorage = profileFile(profile, kLocalStorage);
    if (!isRealFolder(localStorage)) return;
    for (const std::string& name : platform_.contentsOfDirectory(localStorage)) {
        if (!name.ends_with(kLegacyLocalStorageSuffix)) continue;
        std::optional<WebOrigin> origin = WebOrigin::fromIdentifier(
            std::string_view(name).substr(0, name.size() - kLegacyLocalStorageSuffix.size()));
        if (!origin || run.isKeptHost(origin->host)) continue;
        std::string file = appendingPathComponent(localStorage, name);
        plan.removals.push_back({kLocalStorage, file, origin->text(), localStorage});
        std::string journal = file + std::string(kJournalSuffix);
        if (platform_.fileType(journal) != FileType::None) {
            plan.removals.push_back({kLocalStorage, journal, origin->text(), localStorage});
        }
    }
}

void ChromiumProfileCleaner::planWholeStores(const BrowserProfile& profile, ChromiumProfilePlan& plan) {
    auto whole = [&](const char* store, const std::string& path) {
        if (platform_.fileType(path) != FileType::None) plan.removals.push_back({store, path, "", path});
    };
    whole(kSessionStorage, profileFile(profile, kSessionStorage));
    for (const char* cache : kProfileCaches) whole(kCache, profileFile(profile, cache));
    for (const char* cache : kCacheFolderStores) {
        whole(kCache, appendingPathComponent(profile.cachePath, cache));
        // Started with --user-data-dir, the browser keeps its caches inside the profile.
        whole(kCache, profileFile(profile, cache));
    }
}

void ChromiumProfileCleaner::planFlash(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run) {
    plan.flashStore = profileFile(profile, kPepperSharedObjects);
    plan.flash = FlashSharedObjects::plan(plan.flashStore, run);
}

}  // namespace tasselby
