#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/store_report.h"
#include "linux/flash_shared_objects.h"

namespace tasselby {

// What cleaning one Chromium-family profile removes, store by store, as
// planning found it by reading. Applying it is the only step that writes.
struct ChromiumProfilePlan {
    // A cookie file; its rows are judged inside SQLite when applied, so the
    // plan holds only the file.
    std::vector<std::string> cookieFiles;

    // Keys of a LevelDB store to delete in one batch, and the origins they belong to.
    struct KeyDeletion {
        std::string store;  // "Local Storage", "Service Workers"
        std::string folder;
        std::vector<std::string> keys;
        std::vector<std::string> origins;  // each once
    };
    std::vector<KeyDeletion> keyDeletions;

    // An item removed whole: a folder or file of one origin, or (without an
    // origin) a whole store or cache.
    struct Removal {
        std::string store;
        std::string path;
        std::string origin;  // empty: not an origin's data
        std::string group;   // the folder the report names (the store's folder, or the item itself)
    };
    std::vector<Removal> removals;

    // Rows of an index database to delete once their items are gone.
    struct RowDeletion {
        std::string store;     // "Quota", "Databases"
        std::string database;  // the SQLite file
        std::string sql;       // the DELETE, one "?" for each value
        std::vector<std::string> values;
    };
    std::vector<RowDeletion> rowDeletions;

    // Stores left alone, with the reason; tryAgain when a browser holds them.
    struct Skip {
        std::string store;
        std::string path;
        std::string reason;
        bool tryAgain = false;
    };
    std::vector<Skip> skips;

    // Flash host folders of the profile's built-in player.
    std::string flashStore;
    std::vector<FlashSharedObjects::Removal> flash;
};

}  // namespace tasselby
