#pragma once

#include <string>
#include <vector>

#include "linux/cleaning_run.h"

namespace tasselby {

// A Flash player's "#SharedObjects" store: one folder of a random name, and
// in it one folder per host. Hosts whose site is not kept go whole.
class FlashSharedObjects {
public:
    FlashSharedObjects() = delete;

    // A host folder to remove and the site it counts for.
    struct Removal {
        std::string path;
        std::string site;
    };

    // The host folders of the store that cleaning removes; reads only, and
    // never through a link.
    static std::vector<Removal> plan(const std::string& store, CleaningRun& run);
    // Removes them through the run, counting each site and reporting the store.
    static void apply(const std::string& store, const std::vector<Removal>& removals, CleaningRun& run);
};

}  // namespace tasselby
