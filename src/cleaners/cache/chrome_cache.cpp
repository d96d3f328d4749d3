#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"

namespace tasselby {

namespace {

struct ChromeRoots {
    const char* browser;
    const char* cacheRoot;
    const char* dataRoot;
};

constexpr ChromeRoots kChromeRoots[] = {
    {kGoogleChrome, "~/Library/Caches/Google/Chrome", "~/Library/Application Support/Google/Chrome"},
    {kChromium, "~/Library/Caches/Chromium", "~/Library/Application Support/Chromium"},
    {kOpera, "~/Library/Caches/com.operasoftware.Opera", "~/Library/Application Support/com.operasoftware.Opera"},
};

// Appended to the data root as plain text, with no separator: for Chrome the
// folder this names is "ChromePepper Data", beside the data root. That is the
// folder this cleaner has always removed, and it keeps doing so.
constexpr const char* kPepperCache = "Pepper Data/Shockwave Flash/CacheWritableAdobeRoot";
constexpr const char* kApplicationCache = "Application Cache";
constexpr const char* kGpuCache = "GPUCache";

}  // namespace

void WorkerAppDelegate::clearChromeCache(const std::string& browser) {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    // Opera keeps one profile in its base folder: the empty folder name.
    ProfileMap profiles = browser == kGoogleChrome || browser == kChromium ? userProfiles(browser)
                                                                           : ProfileMap{{"", kOpera}};
    const ChromeRoots* roots = nullptr;
    for (const ChromeRoots& candidate : kChromeRoots) {
        if (browser == candidate.browser) roots = &candidate;
    }
    if (roots == nullptr) return;

    std::string cacheRoot = expandTilde(roots->cacheRoot);
    std::string dataRoot = expandTilde(roots->dataRoot);
    if (browser == kOpera) disposeCache(appendingPathComponent(dataRoot, kGpuCache), secureDelete);
    for (const auto& [folder, displayName] : profiles) {
        // With Opera's empty folder name the profile cache is the whole cache
        // root. The GPU cache is looked for inside the application cache, not
        // beside it; both placements are deliberate.
        std::string applicationCache = appendingPathComponent(appendingPathComponent(dataRoot, folder), kApplicationCache);
        disposeCache(dataRoot + kPepperCache, secureDelete);
        disposeCache(appendingPathComponent(cacheRoot, folder), secureDelete);
        disposeCache(applicationCache, secureDelete);
        disposeCache(appendingPathComponent(applicationCache, kGpuCache), secureDelete);
    }
}

}  // namespace tasselby
