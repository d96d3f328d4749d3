#include <functional>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"

namespace tasselby {

namespace {

constexpr const char* kSafariDatabases = "~/Library/Safari/Databases";
constexpr const char* kSafariLocalStorage = "~/Library/Safari/LocalStorage";
constexpr const char* kChromeRoot = "~/Library/Application Support/Google/Chrome";
constexpr const char* kChromiumRoot = "~/Library/Application Support/Chromium";
constexpr const char* kOperaRoot = "~/Library/Application Support/com.operasoftware.Opera";
constexpr const char* kCaminoStore = "~/Library/Application Support/Camino/webappsstore.sqlite";
constexpr const char* kFirefoxProfiles = "~/Library/Application Support/Firefox/Profiles/";

constexpr const char* kDatabasesFolder = "databases";
constexpr const char* kLocalStorageFolder = "Local Storage";
constexpr const char* kDatabasesIndex = "Databases.db";
constexpr const char* kStorageTracker = "StorageTracker.db";
constexpr const char* kMozillaStore = "webappsstore.sqlite";
constexpr const char* kJournalSuffix = "-journal";
constexpr const char* kWriteAheadLogSuffixes[] = {"-wal", "-shm"};

constexpr const char* kSelectOrigins = "SELECT origin FROM Databases;";
constexpr const char* kDeleteDatabases = "DELETE FROM Databases WHERE origin IN ('%@');";
constexpr const char* kDeleteOrigins = "DELETE FROM Origins WHERE origin IN ('%@');";
constexpr const char* kPruneTracker = "DELETE FROM Origins WHERE origin NOT IN ('%@');";
constexpr const char* kSelectScopes = "SELECT * FROM webappsstore2;";
constexpr const char* kDeleteScopes = "DELETE FROM webappsstore2 WHERE scope IN ('%@');";
constexpr const char* kScopeColumn = "scope";

// The names written inline into a statement whose format already holds "('"
// and "')". Nothing is escaped: a name with a quote makes the statement fail,
// which leaves that database as it was.
std::string withValueList(const char* format, const std::vector<std::string>& names) {
    return stringWithFormat(format, {componentsJoinedByString(names, "','")});
}

// Every text value of the rows, row by row. Values that are not text are not
// names of anything stored and are passed over.
void appendTexts(const std::optional<SqlRows>& rows, const char* column, std::vector<std::string>& names) {
    if (!rows) return;
    for (const SqlRow& row : *rows) {
        for (const auto& [name, value] : row) {
            const std::string* text = sqlText(value);
            if (text && (column == nullptr || name == column)) names.push_back(*text);
        }
    }
}

// One sweep of one browser's web storage: it removes what the origin-name
// parsers choose and counts it.
class WebStorageSweep {
public:
    WebStorageSweep(WorkerAppDelegate& delegate, const KeepList& keep, bool secure)
        : delegate_(delegate), platform_(delegate.platform()), keep_(keep), secure_(secure) {}

    long chosen() const { return chosen_; }

    void safari();
    void chromiumFamily(const std::string& root, const std::string& browser);
    void camino();
    void firefox();

private:
    enum class Index { Safari, Chromium };

    void webDatabases(const std::string& folder, Index index);
    void localStorage(const std::string& folder, const std::string& browser);
    void pruneStorageTracker(const std::string& folder);
    void mozillaStore(const std::string& path, std::vector<std::string>& scopes);
    // Runs with the database at path open; nothing when it is missing or does not open.
    void withDatabase(const std::string& path, const std::function<void(Sqlite&)>& use);
    void disposeAll(const std::string& folder, const std::vector<std::string>& names);

    WorkerAppDelegate& delegate_;
    Platform& platform_;
    const KeepList& keep_;
    bool secure_;
    long chosen_ = 0;
};

void WebStorageSweep::withDatabase(const std::string& path, const std::function<void(Sqlite&)>& use) {
    // Opening creates a missing file, so existence is tested first.
    if (!platform_.fileExists(path)) return;
    Sqlite database;
    if (database.open(path)) use(database);
}

void WebStorageSweep::disposeAll(const std::string& folder, const std::vector<std::string>& names) {
    for (const std::string& name : names) delegate_.dispose(appendingPathComponent(folder, name), secure_);
}

void WebStorageSweep::webDatabases(const std::string& folder, Index index) {
    withDatabase(appendingPathComponent(folder, kDatabasesIndex), [&](Sqlite& database) {
        // One row per database, so an origin with several databases is named
        // (and counted) once for each; its folder goes with the first removal.
        std::vector<std::string> origins;
        appendTexts(database.executeQuery(kSelectOrigins), nullptr, origins);
        std::vector<std::string> chosen = delegate_.databaseArray(origins, keep_);
        // The two index formats are brought into line in different orders:
        // Safari's after its folders are gone and in both of its tables, the
        // Chromium family's before, in the one table it has.
        if (index == Index::Safari) {
            disposeAll(folder, chosen);
            chosen_ += static_cast<long>(chosen.size());
            database.executeQuery(withValueList(kDeleteDatabases, chosen));
            database.executeQuery(withValueList(kDeleteOrigins, chosen));
        } else {
            database.executeQuery(withValueList(kDeleteDatabases, chosen));
            chosen_ += static_cast<long>(chosen.size());
            disposeAll(folder, chosen);
        }
    });
}

void WebStorageSweep::localStorage(const std::string& folder, const std::string& browser) {
    if (!platform_.fileExists(folder)) return;
    std::vector<std::string> chosen = delegate_.localStorageArray(platform_.contentsOfDirectory(folder), browser, keep_);
    for (const std::string& name : chosen) {
        // The companions go with their file whatever became of the file, and
        // a missing one is simply not there to remove. The Chromium family
        // keeps a rollback journal beside a file, Safari none. Either may run
        // a file in write-ahead-log mode, whose log holds the latest keys and
        // values in plain text and still names the origin, so leaving it
        // would keep the removed data readable.
        std::string file = appendingPathComponent(folder, name);
        delegate_.dispose(file, secure_);
        if (browser != kSafari) delegate_.dispose(file + kJournalSuffix, secure_);
        for (const char* suffix : kWriteAheadLogSuffixes) delegate_.dispose(file + suffix, secure_);
    }
    chosen_ += static_cast<long>(chosen.size());
}

void WebStorageSweep::pruneStorageTracker(const std::string& folder) {
    withDatabase(appendingPathComponent(folder, kStorageTracker), [&](Sqlite& tracker) {
        // The tracker keeps the rows of the files still there, whatever took
        // the others away (this run, an earlier one, or a wipe that failed and
        // so left its file and row in place).
        std::vector<std::string> surviving;
        for (const std::string& name : platform_.contentsOfDirectory(folder)) {
            surviving.push_back(deletingPathExtension(name));
        }
        tracker.executeQuery(withValueList(kPruneTracker, surviving));
    });
}

void WebStorageSweep::safari() {
    webDatabases(delegate_.expandTilde(kSafariDatabases), Index::Safari);
    std::string folder = delegate_.expandTilde(kSafariLocalStorage);
    localStorage(folder, kSafari);
    pruneStorageTracker(folder);
}

void WebStorageSweep::chromiumFamily(const std::string& root, const std::string& browser) {
    webDatabases(appendingPathComponent(root, kDatabasesFolder), Index::Chromium);
    localStorage(appendingPathComponent(root, kLocalStorageFolder), browser);
}

void WebStorageSweep::mozillaStore(const std::string& path, std::vector<std::string>& scopes) {
    withDatabase(path, [&](Sqlite& store) {
        // One row per stored key: a scope is named once for each of its keys.
        appendTexts(store.executeQuery(kSelectScopes), kScopeColumn, scopes);
        std::vector<std::string> chosen = delegate_.mozillaLocalStorage(scopes, keep_);
        store.executeQuery(withValueList(kDeleteScopes, chosen));
        chosen_ += static_cast<long>(chosen.size());
    });
}

void WebStorageSweep::camino() {
    std::vector<std::string> scopes;
    mozillaStore(delegate_.expandTilde(kCaminoStore), scopes);
}

void WebStorageSweep::firefox() {
    // One scope list serves every profile and is never emptied: the scopes of
    // the profiles visited before are decided, deleted and counted again with
    // each later one.
    std::vector<std::string> scopes;
    std::string profiles = delegate_.expandTilde(kFirefoxProfiles);
    for (const std::string& name : platform_.contentsOfDirectory(profiles)) {
        std::string profile = appendingPathComponent(profiles, name);
        if (platform_.fileType(profile) != FileType::Directory) continue;  // a link to a profile is skipped
        mozillaStore(appendingPathComponent(profile, kMozillaStore), scopes);
    }
}

}  // namespace

long WorkerAppDelegate::removeNonFavLocalStorage(const std::string& browser, const KeepList& keep) {
    WebStorageSweep sweep(*this, keep, platform_.boolForKey(kSecureDeleteData));
    if (browser == kSafari) {
        sweep.safari();
    } else if (browser == kGoogleChrome || browser == kChromium) {
        std::string root = expandTilde(browser == kGoogleChrome ? kChromeRoot : kChromiumRoot);
        for (const auto& [folder, name] : userProfiles(browser)) {
            sweep.chromiumFamily(appendingPathComponent(root, folder), browser);
        }
    } else if (browser == kOpera) {
        sweep.chromiumFamily(expandTilde(kOperaRoot), browser);
    } else if (browser == kCamino) {
        sweep.camino();
    } else if (browser == kFirefox) {
        sweep.firefox();
    }
    return sweep.chosen();
}

}  // namespace tasselby
