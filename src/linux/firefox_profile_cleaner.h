#pragma once

#include <set>
#include <string>
#include <vector>

#include "linux/family_cleaner.h"

namespace tasselby {

// The cleaner of Firefox: the profiles each root's "profiles.ini" lists, a
// profile skipped while a browser holds it, and per profile every store that
// holds site data, by origin (cookies, the origins' storage folders and their
// quota rows, service worker registrations, legacy web storage), and the
// profile's caches whole.
class FirefoxProfileCleaner : public FamilyCleaner {
public:
    explicit FirefoxProfileCleaner(Platform& platform) : platform_(platform) {}

    // The existing folders "profiles.ini" lists; none when it is missing or unreadable.
    std::vector<BrowserProfile> profiles(const BrowserInstall& install) override;
    // Firefox holds profiles one by one, never a whole root: always false.
    bool installRunning(const BrowserInstall& install) override;
    // "logins.json" hostnames and a legacy "signons.sqlite", both read-only.
    void addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) override;
    void cleanProfile(const BrowserInstall& install, const BrowserProfile& profile, CleaningRun& run) override;
    // Nothing belongs to a Firefox root apart from its profiles.
    void cleanInstall(const BrowserInstall& install, CleaningRun& run) override;

private:
    void originStorage(const BrowserProfile& profile, CleaningRun& run);
    void quotaRows(const BrowserProfile& profile, const std::set<std::string>& removedFolders, CleaningRun& run);
    void serviceWorkers(const BrowserProfile& profile, CleaningRun& run);
    void legacyWebStorage(const BrowserProfile& profile, CleaningRun& run);
    void caches(const BrowserProfile& profile, CleaningRun& run);

    Platform& platform_;
};

}  // namespace tasselby
