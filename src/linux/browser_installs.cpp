#include "linux/browser_installs.h"

#include <algorithm>
#include <set>

#include "base/names.h"
#include "base/text.h"

namespace tasselby {

namespace {

// Which root a table path hangs from.
enum class Base { Home, Config, Cache };

struct Location {
    Base base;
    const char* path;
};

struct Row {
    const char* browser;
    BrowserFamily family;
    Location userData;
    Location cacheRoot;
};

constexpr BrowserFamily kChromiumFamily = BrowserFamily::Chromium;
constexpr BrowserFamily kFirefoxFamily = BrowserFamily::Firefox;

// Native packages follow the XDG base directories; Snap and Flatpak keep
// their own trees inside the home whatever the environment says.
constexpr Row kInstalls[] = {
    {kGoogleChrome, kChromiumFamily, {Base::Config, "google-chrome"}, {Base::Cache, "google-chrome"}},
    {kGoogleChrome, kChromiumFamily, {Base::Config, "google-chrome-beta"}, {Base::Cache, "google-chrome-beta"}},
    {kGoogleChrome, kChromiumFamily, {Base::Config, "google-chrome-unstable"}, {Base::Cache, "google-chrome-unstable"}},
    {kGoogleChrome, kChromiumFamily, {Base::Home, ".var/app/com.google.Chrome/config/google-chrome"},
     {Base::Home, ".var/app/com.google.Chrome/cache/google-chrome"}},
    {kChromium, kChromiumFamily, {Base::Config, "chromium"}, {Base::Cache, "chromium"}},
    {kChromium, kChromiumFamily, {Base::Home, "snap/chromium/common/chromium"},
     {Base::Home, "snap/chromium/common/.cache/chromium"}},
    {kChromium, kChromiumFamily, {Base::Home, ".var/app/org.chromium.Chromium/config/chromium"},
     {Base::Home, ".var/app/org.chromium.Chromium/cache/chromium"}},
    {kBrave, kChromiumFamily, {Base::Config, "BraveSoftware/Brave-Browser"},
     {Base::Cache, "BraveSoftware/Brave-Browser"}},
    {kBrave, kChromiumFamily, {Base::Home, "snap/brave/current/.config/BraveSoftware/Brave-Browser"},
     {Base::Home, "snap/brave/common/.cache/BraveSoftware/Brave-Browser"}},
    {kMicrosoftEdge, kChromiumFamily, {Base::Config, "microsoft-edge"}, {Base::Cache, "microsoft-edge"}},
    {kMicrosoftEdge, kChromiumFamily, {Base::Config, "microsoft-edge-beta"}, {Base::Cache, "microsoft-edge-beta"}},
    {kVivaldi, kChromiumFamily, {Base::Config, "vivaldi"}, {Base::Cache, "vivaldi"}},
    {kVivaldi, kChromiumFamily, {Base::Home, "snap/vivaldi/current/.config/vivaldi"},
     {Base::Home, "snap/vivaldi/common/.cache/vivaldi"}},
    {kOpera, kChromiumFamily, {Base::Config, "opera"}, {Base::Cache, "opera"}},
    {kFirefox, kFirefoxFamily, {Base::Home, ".mozilla/firefox"}, {Base::Cache, "mozilla/firefox"}},
    {kFirefox, kFirefoxFamily, {Base::Config, "mozilla/firefox"}, {Base::Cache, "mozilla/firefox"}},
    {kFirefox, kFirefoxFamily, {Base::Home, "snap/firefox/common/.mozilla/firefox"},
     {Base::Home, "snap/firefox/common/.cache/mozilla/firefox"}},
    {kFirefox, kFirefoxFamily, {Base::Home, ".var/app/org.mozilla.firefox/.mozilla/firefox"},
     {Base::Home, ".var/app/org.mozilla.firefox/cache/mozilla/firefox"}},
};

constexpr const char* kMacOSOnlyBrowsers[] = {kSafari, kWebKit, kCamino};

std::string resolve(const LinuxRoots& roots, const Location& location) {
    switch (location.base) {
        case Base::Config:
            return appendingPathComponent(roots.config, location.path);
        case Base::Cache:
            return appendingPathComponent(roots.cache, location.path);
        case Base::Home:
            break;
    }
    return appendingPathComponent(roots.home, location.path);
}

}  // namespace

bool BrowserInstalls::isBrowser(const std::string& name) {
    return std::any_of(std::begin(kInstalls), std::end(kInstalls), [&](const Row& row) { return name == row.browser; });
}

bool BrowserInstalls::isMacOSOnlyBrowser(const std::string& name) {
    return std::any_of(std::begin(kMacOSOnlyBrowsers), std::end(kMacOSOnlyBrowsers),
                       [&](const char* browser) { return name == browser; });
}

BrowserFamily BrowserInstalls::familyOf(const std::string& browser) {
    return browser == kFirefox ? BrowserFamily::Firefox : BrowserFamily::Chromium;
}

std::vector<BrowserInstall> BrowserInstalls::all(const LinuxRoots& roots, const std::string& browser) {
    std::vector<BrowserInstall> installs;
    std::set<std::string> seen;
    for (const Row& row : kInstalls) {
        if (browser != row.browser) continue;
        BrowserInstall install{row.browser, row.family, resolve(roots, row.userData), resolve(roots, row.cacheRoot)};
        if (seen.insert(install.userData).second) installs.push_back(std::move(install));
    }
    return installs;
}

std::vector<BrowserInstall> BrowserInstalls::existing(Platform& platform, const LinuxRoots& roots,
                                                      const std::string& browser) {
    std::vector<BrowserInstall> installs;
    for (BrowserInstall& install : all(roots, browser)) {
        // A user-data folder moved elsewhere and linked back is still the
        // user's own install, so the link is followed here (and only here).
        if (platform.isDirectory(install.userData)) installs.push_back(std::move(install));
    }
    return installs;
}

}  // namespace tasselby
