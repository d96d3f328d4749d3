#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/sample_home.h"

namespace tasselby::testing {

// Where the browsers keep web storage, relative to a home.
inline constexpr const char* kSafariDatabasesFolder = "Library/Safari/Databases";
inline constexpr const char* kSafariLocalStorageFolder = "Library/Safari/LocalStorage";
inline constexpr const char* kCaminoWebappsstore = "Library/Application Support/Camino/webappsstore.sqlite";

// The two layouts of a web-database index: Safari's has an "Origins" table
// beside "Databases"; the Chromium family's has "Databases" only.
enum class DatabasesFormat { Safari, Chromium };

// One web database of an origin: one row of "Databases.db".
struct WebDatabase {
    std::string origin;
    std::string name = "notes";
};

// One stored key of a Mozilla-family "webappsstore2" table.
struct MozillaItem {
    std::string scope;
    std::string key = "k";
};

// Builds browsers' web storage inside a sample home, with the browsers' own
// schemas. Folders and paths are relative to the home ("~/" allowed); each
// builder answers the absolute path of what it wrote.
class WebStorageStores {
public:
    explicit WebStorageStores(const SampleHome& home) : home_(home) {}

    // "<folder>/Databases.db" with one row per database, and each database's
    // file inside its origin's folder.
    std::string writeDatabases(const std::string& folder, DatabasesFormat format,
                               const std::vector<WebDatabase>& databases) const;
    // "<folder>/<origin>.localstorage" holding one item, with its "-journal" when asked.
    std::string writeLocalStorage(const std::string& folder, const std::string& origin, bool journal = true) const;
    // "<folder>/StorageTracker.db" with one row per origin.
    std::string writeStorageTracker(const std::string& folder, const std::vector<std::string>& origins) const;
    // A "webappsstore.sqlite" with one row per item.
    std::string writeWebappsstore(const std::string& path, const std::vector<MozillaItem>& items) const;

    // The first column of every row of the query, in order; nothing when the
    // database or the query fails. The database is named relative to the home
    // or by its absolute path, and is opened read-only.
    std::optional<std::vector<std::string>> column(const std::string& database, const std::string& sql) const;

    // A small mixed sample for every browser: kept and unkept origins of
    // example.com, extension storage, files without journals. The Chromium
    // family's storage goes into the profiles "Default" and "Profile 1",
    // Firefox's into the profile named (listing the profiles is the caller's part).
    void writeSample(const std::string& firefoxProfile = "sample.default") const;

private:
    const SampleHome& home_;
};

}  // namespace tasselby::testing
