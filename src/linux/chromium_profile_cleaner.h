#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "linux/chromium_profile_plan.h"
#include "linux/family_cleaner.h"
#include "storage/level_db.h"

namespace tasselby {

// The cleaner of the Chromium family (Google Chrome, Chromium, Brave,
// Microsoft Edge, Vivaldi, Opera). Per profile it first plans by reading
// every store that holds site data (by origin where the store is shared by
// all sites, whole where it holds nothing a user would miss), then applies
// the plan; a dry run plans the same way and applies nothing.
class ChromiumProfileCleaner : public FamilyCleaner {
public:
    explicit ChromiumProfileCleaner(Platform& platform) : platform_(platform) {}

    std::vector<BrowserProfile> profiles(const BrowserInstall& install) override;
    bool installRunning(const BrowserInstall& install) override;
    void addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) override;
    void cleanProfile(const BrowserInstall& install, const BrowserProfile& profile, CleaningRun& run) override;
    void cleanInstall(const BrowserInstall& install, CleaningRun& run) override;

    // What cleaning the profile removes; reads only (the LevelDB stores
    // through private copies, so a store with nothing to remove, or of a
    // format we do not know, is never rewritten).
    ChromiumProfilePlan plan(const BrowserProfile& profile, CleaningRun& run);
    // Performs the plan through the run (which leaves out every write in a
    // dry run), counting and reporting what went.
    void apply(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);

private:
    void planCookies(const BrowserProfile& profile, ChromiumProfilePlan& plan);
    void planLocalStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planServiceWorkers(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planIndexedDb(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planCacheStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planSiteStorage(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planLegacyStores(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void planWholeStores(const BrowserProfile& profile, ChromiumProfilePlan& plan);
    void planFlash(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);

    // A private copy of the LevelDB at folder, to read; nothing when there
    // is none, with a skip in the plan when one is there but a browser holds
    // it or it cannot be read.
    std::unique_ptr<LevelDb> readLevelDb(const std::string& store, const std::string& folder,
                                         ChromiumProfilePlan& plan);
    // Whether the path is a folder reached without a final link.
    bool isRealFolder(const std::string& path);

    void applyCookies(ChromiumProfilePlan& plan, CleaningRun& run);
    void applyKeyDeletions(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void applyRemovals(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run);
    void applyRowDeletions(ChromiumProfilePlan& plan, CleaningRun& run);

    // Removes the item whole when it exists and reports it.
    void removeWhole(const std::string& store, const std::string& path, CleaningRun& run);

    Platform& platform_;
};

}  // namespace tasselby
