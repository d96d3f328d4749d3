#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "linux/browser_installs.h"
#include "linux/browser_profile.h"
#include "linux/cleaning_run.h"

namespace tasselby {

// What the run asks of one browser family. The run goes top to bottom:
// installs, running checks, the keep list over every profile, then each
// profile of each install that is not running, then each install's own
// caches. A cleaner plans from reads first and writes only through the
// CleaningRun, the platform and the storage classes, so a dry run is the
// same walk with every write left out.
class FamilyCleaner {
public:
    virtual ~FamilyCleaner() = default;

    // The install's profiles, in the order they are cleaned.
    virtual std::vector<BrowserProfile> profiles(const BrowserInstall& install) = 0;
    // Whether a browser holds the whole install now; such an install is skipped whole.
    virtual bool installRunning(const BrowserInstall& install) = 0;
    // Adds the sites of the profile's saved logins (read-only).
    virtual void addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) = 0;
    // Cleans one profile of an install that is not running. A profile that
    // turns out to be held (a locked store) is reported through run.skip.
    virtual void cleanProfile(const BrowserInstall& install, const BrowserProfile& profile, CleaningRun& run) = 0;
    // Cleans what belongs to the install rather than to one profile.
    virtual void cleanInstall(const BrowserInstall& install, CleaningRun& run) = 0;
};

// The cleaner of a family; nothing for a family without one yet.
std::unique_ptr<FamilyCleaner> makeFamilyCleaner(BrowserFamily family, Platform& platform);

}  // namespace tasselby
