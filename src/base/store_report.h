#pragma once

#include <string>
#include <vector>

namespace tasselby {

// What a run did, or in a dry run would do, at one store: one line of the
// printed report and one element of the JSON report's "stores".
struct StoreReport {
    std::string store;    // the kind of store: "Cookies", "Local Storage", "Cache", ...
    std::string path;     // the store's path, relative to the home folder where it lies inside it
    std::string action;   // what was done: "removed", "would remove", "skipped"
    long items = 0;       // how many rows, keys, folders or files
    std::string unit;     // what the items are: "rows", "origins", "folders", "files"
    long tracking = 0;    // of the cookie rows, how many are tracking cookies
    std::string reason;   // for "skipped": why ("running browser", "locked", "unknown format")
};

// The actions a report names.
inline constexpr const char* kRemovedAction = "removed";
inline constexpr const char* kWouldRemoveAction = "would remove";
inline constexpr const char* kSkippedAction = "skipped";

// Every store a run touched or skipped, in the order the run met them.
using RunReport = std::vector<StoreReport>;

}  // namespace tasselby
