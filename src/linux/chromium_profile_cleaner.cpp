#include "linux/chromium_profile_cleaner.h"

#include "base/text.h"
#include "linux/chromium_profiles.h"
#include "linux/login_keep_list.h"
#include "linux/running_browser.h"

namespace tasselby {

namespace {

constexpr const char* kLoginStores[] = {"Login Data", "Login Data For Account"};

// Stores that go whole: session-only storage and the caches of a profile.
constexpr const char* kSessionStorage = "Session Storage";
constexpr const char* kProfileCaches[] = {"GPUCache", "DawnWebGPUCache"};
// The profile's cache folder, apart from the profile, holds these.
constexpr const char* kCacheFolderStores[] = {"Cache", "Code Cache"};
// Caches of the whole install, beside the profiles.
constexpr const char* kInstallCaches[] = {"GrShaderCache", "ShaderCache", "GraphiteDawnCache"};

constexpr const char* kCacheStore = "Cache";
constexpr const char* kFolderUnit = "folders";

}  // namespace

std::vector<BrowserProfile> ChromiumProfileCleaner::profiles(const BrowserInstall& install) {
    return ChromiumProfiles::of(platform_, install);
}

bool ChromiumProfileCleaner::installRunning(const BrowserInstall& install) {
    return RunningBrowser::chromiumInstallRunning(install.userData);
}

void ChromiumProfileCleaner::addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) {
    for (const char* store : kLoginStores) {
        std::string path = appendingPathComponent(profile.path, store);
        // A link could lead anywhere; the browser never makes one here.
        if (platform_.fileType(path) != FileType::Regular) continue;
        LoginKeepList::addChromiumLogins(path, sites);
    }
}

void ChromiumProfileCleaner::removeWhole(const std::string& store, const std::string& path, CleaningRun& run) {
    if (platform_.fileType(path) == FileType::None) return;
    StoreReport entry{store, path, "", 1, kFolderUnit, 0, ""};
    if (!run.dispose(path)) {
        entry.action = "failed";
        entry.items = 0;
    }
    run.report(std::move(entry));
}

void ChromiumProfileCleaner::cleanProfile(const BrowserInstall&, const BrowserProfile& profile, CleaningRun& run) {
    removeWhole(kSessionStorage, appendingPathComponent(profile.path, kSessionStorage), run);
    for (const char* cache : kProfileCaches) removeWhole(kCacheStore, appendingPathComponent(profile.path, cache), run);
    for (const char* cache : kCacheFolderStores) {
        removeWhole(kCacheStore, appendingPathComponent(profile.cachePath, cache), run);
        // Started with --user-data-dir, the browser keeps its caches inside the profile.
        removeWhole(kCacheStore, appendingPathComponent(profile.path, cache), run);
    }
}

void ChromiumProfileCleaner::cleanInstall(const BrowserInstall& install, CleaningRun& run) {
    for (const char* cache : kInstallCaches) removeWhole(kCacheStore, appendingPathComponent(install.userData, cache), run);
}

}  // namespace tasselby
