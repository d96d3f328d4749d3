#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cache/subfolders.h"

namespace tasselby {

namespace {

constexpr const char* kCookiesPlist = "~/Library/Cookies/Cookies.plist";
constexpr const char* kHstsPlist = "~/Library/Cookies/HSTS.plist";

// The per-user temporary folders; level 4 below it holds one folder per application.
constexpr const char* kTemporaryFolders = "/private/var/folders/";
constexpr const char* kMediaCache = "MediaCache";
constexpr const char* kSafariFolder = "com.apple.Safari";
constexpr const char* kApplicationCacheDb = "ApplicationCache.db";

// Application folders whose own "MediaCache" goes, by level-4 folder name.
constexpr const char* kWebProcessFolders[] = {
    "com.apple.WebKit.WebContent+com.apple.Safari",
    "com.apple.WebProcess+com.apple.Safari",
};

void disposeIfPresent(WorkerAppDelegate& worker, const std::string& path, bool secureDelete) {
    if (worker.platform().fileExists(path)) worker.disposeCache(path, secureDelete);
}

// One level-4 folder of the temporary-folder tree, by its name.
void disposeApplicationCache(WorkerAppDelegate& worker, const std::string& folder, const std::string& name,
                             bool secureDelete) {
    // Any "MediaCache" folder at this depth goes, whichever application's it
    // is, and with no existence test: it was just listed.
    if (name == kMediaCache) worker.disposeCache(folder, secureDelete);
    if (name == kSafariFolder) {
        disposeIfPresent(worker, appendingPathComponent(folder, kApplicationCacheDb), secureDelete);
    }
    for (const char* webProcess : kWebProcessFolders) {
        if (name == webProcess) disposeIfPresent(worker, appendingPathComponent(folder, kMediaCache), secureDelete);
    }
}

}  // namespace

void WorkerAppDelegate::clearExtraCookieCache() {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    disposeCache(expandTilde(kCookiesPlist), secureDelete);
    disposeCache(expandTilde(kHstsPlist), secureDelete);
}

void WorkerAppDelegate::clearExtraCache() {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    // Exactly four listings deep: levels 1 to 3 are only walked through, and
    // only folders are listed further (a link is never followed).
    std::string root = platform_.systemPath(kTemporaryFolders);
    for (const std::string& bucket : subfolders(platform_, root)) {
        std::string level1 = appendingPathComponent(root, bucket);
        for (const std::string& user : subfolders(platform_, level1)) {
            std::string level2 = appendingPathComponent(level1, user);
            for (const std::string& area : subfolders(platform_, level2)) {
                std::string level3 = appendingPathComponent(level2, area);
                for (const std::string& application : subfolders(platform_, level3)) {
                    disposeApplicationCache(*this, appendingPathComponent(level3, application), application,
                                            secureDelete);
                }
            }
        }
    }
}

}  // namespace tasselby
