#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/platform.h"
#include "storage/sqlite.h"

namespace tasselby {

// Site names whose data the run keeps; read-only for every cleaner.
using KeepList = std::vector<std::string>;

// Chromium-family profile folder name to display name, in the order the
// browser's "Local State" file lists them.
using ProfileMap = std::vector<std::pair<std::string, std::string>>;

// One cookie chosen by the inventory: a cookie of the shared storage, or one
// row of a browser's cookie table with every column.
using CookieRecord = std::variant<HttpCookie, SqlRow>;

struct CookieInventory {
    long cookieCount = 0;    // non-kept plus tracking, before duplicates go
    long trackingCount = 0;  // tracking cookies, kept sites included
    std::vector<CookieRecord> removalList;  // each record once
};

// The worker: one run for one browser, from the argument check to
// termination. It holds nothing of a run; every value is passed along.
class WorkerAppDelegate : public UserNotificationCenterDelegate {
public:
    explicit WorkerAppDelegate(Platform& platform) : platform_(platform) {}

    // --- Run cycle -------------------------------------------------------
    void awakeFromNib();
    void applicationDidFinishLaunching();
    std::string startupCheck();
    void clearData(const std::string& browser);

    // --- Notification ----------------------------------------------------
    void displayNotificationWithTitle(const std::string& title, const std::string& text);
    void didActivateNotification(UserNotificationCenter& center,
                                 const UserNotification& notification) override;
    bool shouldPresentNotification(UserNotificationCenter& center,
                                   const UserNotification& notification) override;

    // --- Profiles --------------------------------------------------------
    // Throws RunStopped when the browser's "Local State" file cannot be read.
    ProfileMap userProfiles(const std::string& browser);
    // The profile map of a "Local State" document; empty for text that is not
    // such a document. Only keys that are plain folder names (isFolderName)
    // are in it, so that no cleaner builds a path out of a profile's folder.
    static ProfileMap profilesInLocalState(const std::string& text);

    // --- Keep list -------------------------------------------------------
    KeepList getSmartFavouritesArray();
    KeepList getFirefoxSmartFavouritesArray();

    // --- Cookies ---------------------------------------------------------
    std::array<long, 2> removeCookies(const std::string& browser, const KeepList& keepCookies);
    CookieInventory cookies(const std::string& browser, const KeepList& keepCookies);
    void deleteChromeChannelID(const std::string& browser, const KeepList& keep);
    void deleteSafariCookies(const std::vector<HttpCookie>& cookiesToDelete);
    std::vector<std::string> defaultTrackingCookies();

    // --- Web storage -----------------------------------------------------
    long removeNonFavLocalStorage(const std::string& browser, const KeepList& keep);
    std::vector<std::string> databaseArray(const std::vector<std::string>& origins, const KeepList& keep);
    std::vector<std::string> localStorageArray(const std::vector<std::string>& fileNames,
                                               const std::string& browser, const KeepList& keep);
    std::vector<std::string> mozillaLocalStorage(const std::vector<std::string>& scopes, const KeepList& keep);

    // --- Plug-ins --------------------------------------------------------
    long removeFlash(const std::string& browser, const KeepList& keep);
    // [pairs seen, pairs removed]; nothing for a browser without a built-in player.
    std::optional<std::array<long, 2>> clearChromeFlash(const std::string& browser, const KeepList& keep);
    // Throws RunStopped at a store whose identity names no site.
    long removeSilverlight(const KeepList& keep);

    // --- Caches ----------------------------------------------------------
    void removeBrowserCache(const std::string& browser);
    void clearFireFoxCache();
    void clearChromeCache(const std::string& browser);
    void clearExtraCache();
    void clearExtraCookieCache();

    // --- Shared by the cleaners ------------------------------------------
    // The disposal rule: with secureDelete, overwrite first and remove only
    // when the overwrite succeeded; otherwise remove. Errors are ignored.
    void dispose(const std::string& path, bool secureDelete);
    // The same with different paths for the overwrite and the removal.
    void dispose(const std::string& wipePath, const std::string& removalPath, bool secureDelete);
    // A path with its leading "~" expanded to the home folder.
    std::string expandTilde(const std::string& path);

    Platform& platform() { return platform_; }

private:
    Platform& platform_;
};

}  // namespace tasselby
