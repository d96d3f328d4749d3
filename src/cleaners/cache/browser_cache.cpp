#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cache/subfolders.h"

namespace tasselby {

namespace {

// Disposed, in order, for the browser of their row.
struct BrowserCacheFiles {
    const char* browser;
    const char* paths[2];
};

constexpr BrowserCacheFiles kOwnCacheFiles[] = {
    {kSafari, {"~/Library/Caches/com.apple.Safari/Cache.db", "~/Library/Caches/com.apple.Safari/fsCachedData"}},
    {kCamino, {"~/Library/Caches/Camino/Cache", "~/Library/Caches/Metadata/Camino"}},
};

// Caches every browser fills through its plug-ins; they go on every run.
constexpr const char* kSharedCaches[] = {
    "~/Library/Caches/Adobe/Flash Player/AssetCache",
    "~/Library/Caches/QuickTime/downloads",
};

constexpr const char* kFirefoxProfiles = "~/Library/Caches/Firefox/Profiles/";
constexpr const char* kFirefoxProfileCaches[] = {"Cache", "OfflineCache", "startupCache"};

}  // namespace

void WorkerAppDelegate::removeBrowserCache(const std::string& browser) {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    // "WebKit" is in none of the branches on purpose: like an unknown name it
    // gets only the shared caches, and Safari's caches stay.
    for (const BrowserCacheFiles& own : kOwnCacheFiles) {
        if (browser != own.browser) continue;
        for (const char* path : own.paths) disposeCache(expandTilde(path), secureDelete);
    }
    if (browser == kSafari) {
        clearExtraCache();
        clearExtraCookieCache();
    } else if (browser == kOpera || browser == kGoogleChrome || browser == kChromium) {
        clearChromeCache(browser);
    } else if (browser == kFirefox) {
        clearFireFoxCache();
    }
    for (const char* path : kSharedCaches) disposeCache(expandTilde(path), secureDelete);
}

void WorkerAppDelegate::clearFireFoxCache() {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    // Every folder in there counts as a profile; no profile list is read.
    std::string profiles = expandTilde(kFirefoxProfiles);
    for (const std::string& profile : subfolders(platform_, profiles)) {
        std::string folder = appendingPathComponent(profiles, profile);
        for (const char* cache : kFirefoxProfileCaches) disposeCache(appendingPathComponent(folder, cache), secureDelete);
    }
}

}  // namespace tasselby
