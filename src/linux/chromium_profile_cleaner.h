#pragma once

#include <set>
#include <string>
#include <vector>

#include "linux/family_cleaner.h"

namespace tasselby {

// The cleaner of the Chromium family (Google Chrome, Chromium, Brave,
// Microsoft Edge, Vivaldi, Opera): per profile, every store that holds site
// data, by origin where the store is shared, whole where it holds nothing a
// user would miss.
class ChromiumProfileCleaner : public FamilyCleaner {
public:
    explicit ChromiumProfileCleaner(Platform& platform) : platform_(platform) {}

    std::vector<BrowserProfile> profiles(const BrowserInstall& install) override;
    bool installRunning(const BrowserInstall& install) override;
    void addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) override;
    void cleanProfile(const BrowserInstall& install, const BrowserProfile& profile, CleaningRun& run) override;
    void cleanInstall(const BrowserInstall& install, CleaningRun& run) override;

private:
    // Removes the item whole when it exists and reports it.
    void removeWhole(const std::string& store, const std::string& path, CleaningRun& run);

    Platform& platform_;
};

}  // namespace tasselby
