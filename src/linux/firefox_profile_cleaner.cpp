#include "linux/firefox_profile_cleaner.h"

#include "base/text.h"
#include "cleaners/webstorage/mozilla_scope.h"
#include "linux/cookie_table_cleaner.h"
#include "linux/firefox_profiles_ini.h"
#include "linux/firefox_service_worker_file.h"
#include "linux/firefox_storage_origin.h"
#include "linux/login_keep_list.h"
#include "linux/running_browser.h"
#include "linux/skip_reasons.h"
#include "linux/web_origin.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kProfilesIni = "profiles.ini";
constexpr const char* kLoginsJson = "logins.json";
constexpr const char* kSignons = "signons.sqlite";
constexpr const char* kCookies = "cookies.sqlite";
constexpr CookieTable kCookieTable{"moz_cookies", "host", "name", true};
constexpr const char* kStorageDefault = "storage/default";
constexpr const char* kStorageIndex = "storage.sqlite";
constexpr const char* kServiceWorkers = "serviceworker.txt";
constexpr const char* kRetiredSuffix = ".tasselby-retired";
constexpr const char* kWebappsstore = "webappsstore.sqlite";
constexpr const char* kCacheFolders[] = {"cache2", "startupCache", "thumbnails"};

constexpr const char* kSelectDefaultOrigins =
    "SELECT origin.origin FROM origin JOIN repository ON origin.repository_id = repository.id "
    "WHERE repository.name = 'default';";
constexpr const char* kDeleteDefaultOrigin =
    "DELETE FROM origin WHERE origin = ? AND repository_id IN (SELECT id FROM repository WHERE name = 'default');";
constexpr const char* kScopeFunction = "tasselby_scope_removable";
constexpr const char* kSelectRemovableScopes =
    "SELECT DISTINCT scope FROM webappsstore2 WHERE tasselby_scope_removable(scope);";
constexpr const char* kDeleteRemovableScopes = "DELETE FROM webappsstore2 WHERE tasselby_scope_removable(scope);";

// Report names of the stores.
constexpr const char* kProfileStore = "Profile";
constexpr const char* kCookiesStore = "Cookies";
constexpr const char* kSiteStorageStore = "Site Storage";
constexpr const char* kQuotaStore = "Storage Index";
constexpr const char* kServiceWorkerStore = "Service Workers";
constexpr const char* kWebStorageStore = "Web Storage";
constexpr const char* kCacheStore = "Cache";

// The origin a legacy storage scope ("moc.elpmaxe.www.:https:443") stands
// for, so that it counts as the same origin as its storage folder; the scope
// itself when it is not of that form.
std::string originOfScope(const std::string& scope) {
    std::size_t marker = scope.find(".:");
    if (marker == std::string::npos) return scope;
    std::vector<std::string> rest = componentsSeparatedByString(std::string_view(scope).substr(marker + 2), ":");
    if (rest.size() != 2) return scope;
    std::string origin = rest[0] + "://" + MozillaScope::reversed(std::string_view(scope).substr(0, marker));
    bool defaultPort = (rest[0] == "http" && rest[1] == "80") || (rest[0] == "https" && rest[1] == "443");
    if (!defaultPort) origin += ":" + rest[1];
    return origin;
}

// Opens a store for the run: read-only in a dry run, and with overwriting of
// deleted rows when secure deletion is on. False leaves it as it is.
bool openStore(Sqlite& database, const std::string& path, CleaningRun& run) {
    if (!database.openExisting(path, run.dryRun())) return false;
    return run.dryRun() || !run.secureDelete() || database.enableSecureDelete();
}

}  // namespace

std::vector<BrowserProfile> FirefoxProfileCleaner::profiles(const BrowserInstall& install) {
    std::vector<BrowserProfile> found;
    std::optional<std::string> text = platform_.readUtf8File(appendingPathComponent(install.userData, kProfilesIni));
    if (!text) return found;
    for (const FirefoxProfileEntry& entry : FirefoxProfilesIni::profiles(*text, install.userData)) {
        if (!platform_.isDirectory(entry.folder)) continue;
        // A profile listed relative to the root keeps its caches at the same
        // path below the cache root; one listed by absolute path keeps them
        // inside itself.
        std::string cache = entry.relativePath ? appendingPathComponent(install.cacheRoot, *entry.relativePath)
                                               : entry.folder;
        found.push_back(BrowserProfile{lastPathComponent(entry.folder), entry.folder, cache});
    }
    return found;
}

bool FirefoxProfileCleaner::installRunning(const BrowserInstall&) { return false; }

void FirefoxProfileCleaner::addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) {
    if (std::optional<std::string> text = platform_.readUtf8File(appendingPathComponent(profile.path, kLoginsJson))) {
        LoginKeepList::addFirefoxLoginsJson(*text, sites);
    }
    std::string signons = appendingPathComponent(profile.path, kSignons);
    if (platform_.fileType(signons) == FileType::Regular) LoginKeepList::addFirefoxSignons(signons, sites);
}

void FirefoxProfileCleaner::cleanProfile(const BrowserInstall&, const BrowserProfile& profile, CleaningRun& run) {
    if (RunningBrowser::firefoxProfileRunning(platform_, profile.path)) {
        run.skip(kProfileStore, profile.path, kReasonRunningBrowser, true);
        return;
    }
    cleanCookieFile(kCookieTable, kCookiesStore, appendingPathComponent(profile.path, kCookies), run);
    originStorage(profile, run);
    serviceWorkers(profile, run);
    legacyWebStorage(profile, run);
    caches(profile, run);
}

void FirefoxProfileCleaner::cleanInstall(const BrowserInstall&, CleaningRun&) {}

void FirefoxProfileCleaner::originStorage(const BrowserProfile& profile, CleaningRun& run) {
    std::string folder = appendingPathComponent(profile.path, kStorageDefault);
    std::set<std::string> removed;
    for (const std::string& name : platform_.contentsOfDirectory(folder)) {
        std::optional<FirefoxStorageOrigin> origin = FirefoxStorageOrigin::fromFolderName(name);
        if (!origin || run.isKeptHost(origin->host)) continue;
        if (!run.dispose(appendingPathComponent(folder, name))) continue;
        removed.insert(name);
        // A container's or a partition's copy of an origin is storage of its own.
        run.countSiteStorage(profile.path, origin->origin() + origin->attributes);
    }
    if (removed.empty()) return;
    run.report({kSiteStorageStore, folder, "", static_cast<long>(removed.size()), "origins", 0, ""});
    quotaRows(profile, removed, run);
}

void FirefoxProfileCleaner::quotaRows(const BrowserProfile& profile, const std::set<std::string>& removedFolders,
                                      CleaningRun& run) {
    // Firefox tolerates rows of origins that are gone, so a quota database
    // that cannot be opened or read is left as it is.
    std::string path = appendingPathComponent(profile.path, kStorageIndex);
    if (platform_.fileType(path) != FileType::Regular) return;
    Sqlite database;
    if (!openStore(database, path, run)) return;
    std::optional<SqlRows> rows = database.executeQuery(kSelectDefaultOrigins);
    if (!rows) {
        run.skip(kQuotaStore, path, kReasonUnknownFormat, false);
        return;
    }
    std::vector<std::string> chosen;
    for (const SqlRow& row : *rows) {
        for (const auto& [column, value] : row) {
            const std::string* origin = sqlText(value);
            if (origin && removedFolders.count(FirefoxStorageOrigin::folderName(*origin)) != 0) {
                chosen.push_back(*origin);
            }
        }
    }
    if (chosen.empty()) return;
    if (!run.dryRun()) {
        if (!database.beginTransaction()) {
            run.skip(kQuotaStore, path, kReasonLocked, false);
            return;
        }
        for (const std::string& origin : chosen) {
            if (!database.executeNonQuery(kDeleteDefaultOrigin, {origin})) {
                database.rollback();
                run.skip(kQuotaStore, path, kReasonNotWritable, false);
                return;
            }
        }
        if (!database.commit()) {
            database.rollback();
            run.skip(kQuotaStore, path, kReasonNotWritable, false);
            return;
        }
    }
    run.report({kQuotaStore, path, "", static_cast<long>(chosen.size()), "rows", 0, ""});
}

void FirefoxProfileCleaner::serviceWorkers(const BrowserProfile& profile, CleaningRun& run) {
    std::string path = appendingPathComponent(profile.path, kServiceWorkers);
    FileType type = platform_.fileType(path);
    if (type == FileType::None) return;
    if (type != FileType::Regular) {
        run.skip(kServiceWorkerStore, path, kReasonNotAFile, false);
        return;
    }
    std::optional<std::string> text = platform_.readUtf8File(path);
    std::optional<FirefoxServiceWorkerFile> file =
        text ? FirefoxServiceWorkerFile::parse(*text) : std::nullopt;
    if (!file) {
        run.skip(kServiceWorkerStore, path, kReasonUnknownFormat, false);
        return;
    }
    std::vector<std::string> droppedOrigins;
    auto keep = [&](const FirefoxServiceWorkerFile::Registration& registration) {
        // Only web scopes are judged; any other registration stays as it is.
        std::optional<WebOrigin> origin = WebOrigin::fromUrl(registration.scope);
        if (!origin || run.isKeptHost(origin->host)) return true;
        droppedOrigins.push_back(origin->text() + registration.suffix);
        return false;
    };
    std::string kept = file->textKeeping(keep);
    if (droppedOrigins.empty()) return;
    if (!run.dryRun()) {
        // With secure deletion the old file is linked aside and overwritten
        // once the new one is in place, so the dropped blocks leave the disk.
        std::optional<std::string> retired;
        if (run.secureDelete()) {
            retired = path + kRetiredSuffix;
            run.dispose(*retired);  // what an interrupted earlier run left
        }
        if (!platform_.replaceFileContents(path, kept, retired)) {
            run.skip(kServiceWorkerStore, path, kReasonNotWritable, false);
            return;
        }
        if (retired) run.dispose(*retired);
    }
    for (const std::string& origin : droppedOrigins) run.countSiteStorage(profile.path, origin);
    run.report({kServiceWorkerStore, path, "", static_cast<long>(droppedOrigins.size()), "registrations", 0, ""});
}

void FirefoxProfileCleaner::legacyWebStorage(const BrowserProfile& profile, CleaningRun& run) {
    std::string path = appendingPathComponent(profile.path, kWebappsstore);
    FileType type = platform_.fileType(path);
    if (type == FileType::None) return;
    Sqlite database;
    if (type != FileType::Regular || !openStore(database, path, run)) {
        run.skip(kWebStorageStore, path, type != FileType::Regular ? kReasonNotAFile : kReasonLocked, false);
        return;
    }
    database.createFunction(kScopeFunction, 1, [&run](std::span<const std::optional<std::string_view>> arguments) {
        // A scope that is not of the host-reversed form names no site: it stays.
        if (!arguments[0]) return std::int64_t{0};
        std::optional<std::string> name = MozillaScope::workingName(*arguments[0]);
        return std::int64_t{name && !run.isKeptHost(*name)};
    });
    std::optional<SqlRows> scopes = database.executeQuery(kSelectRemovableScopes);
    if (!scopes) {
        run.skip(kWebStorageStore, path, kReasonUnknownFormat, false);
        return;
    }
    if (scopes->empty()) return;
    long rows = 0;
    if (!run.dryRun()) {
        if (!database.beginTransaction()) {
            run.skip(kWebStorageStore, path, kReasonLocked, true);
            return;
        }
        if (!database.executeNonQuery(kDeleteRemovableScopes) || (rows = database.changes(), !database.commit())) {
            database.rollback();
            run.skip(kWebStorageStore, path, kReasonNotWritable, false);
            return;
        }
    }
    for (const SqlRow& row : *scopes) {
        for (const auto& [column, value] : row) {
            if (const std::string* scope = sqlText(value)) run.countSiteStorage(profile.path, originOfScope(*scope));
        }
    }
    run.report({kWebStorageStore, path, "", run.dryRun() ? static_cast<long>(scopes->size()) : rows,
                run.dryRun() ? "scopes" : "rows", 0, ""});
}

void FirefoxProfileCleaner::caches(const BrowserProfile& profile, CleaningRun& run) {
    std::vector<std::string> roots{profile.cachePath};
    if (profile.cachePath != profile.path) roots.push_back(profile.path);
    for (const std::string& root : roots) {
        for (const char* name : kCacheFolders) {
            std::string folder = appendingPathComponent(root, name);
            if (run.dispose(folder)) run.report({kCacheStore, folder, "", 1, "folders", 0, ""});
        }
    }
}

}  // namespace tasselby
