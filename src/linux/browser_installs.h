#pragma once

#include <string>
#include <vector>

#include "linux/linux_roots.h"
#include "platform/platform.h"

namespace tasselby {

// The two kinds of browser the Linux layout cleans; each has one cleaner.
enum class BrowserFamily { Chromium, Firefox };

// One installed copy of a browser: a native package, a Snap or a Flatpak.
struct BrowserInstall {
    std::string browser;     // the browser's name as given on the command line
    BrowserFamily family = BrowserFamily::Chromium;
    std::string userData;    // Chromium family: holds "Local State" and the profiles;
                             // Firefox: the root that holds "profiles.ini"
    std::string cacheRoot;   // a profile's cache folder is this plus the profile folder's name
};

// The table of where every browser of the Linux layout keeps its data.
class BrowserInstalls {
public:
    BrowserInstalls() = delete;

    // Whether the Linux layout knows the browser of this name.
    static bool isBrowser(const std::string& name);
    // Whether the name is a browser only of the macOS layout ("Safari", "WebKit", "Camino").
    static bool isMacOSOnlyBrowser(const std::string& name);
    // The family of a browser of the Linux layout.
    static BrowserFamily familyOf(const std::string& browser);
    // Every row of the table for the browser, whether it exists or not, each
    // user-data folder once (the XDG roots may make two rows meet).
    static std::vector<BrowserInstall> all(const LinuxRoots& roots, const std::string& browser);
    // The rows whose user-data folder exists, in table order.
    static std::vector<BrowserInstall> existing(Platform& platform, const LinuxRoots& roots,
                                                const std::string& browser);
};

}  // namespace tasselby
