#include "linux/linux_run.h"

#include <ostream>
#include <set>

#include "base/names.h"
#include "base/text.h"
#include "keep/keep_set.h"
#include "linux/browser_installs.h"
#include "linux/family_cleaner.h"
#include "linux/flash_shared_objects.h"
#include "linux/skip_reasons.h"

namespace tasselby {

namespace {

constexpr const char* kInstallStore = "Install";
// The system-wide Flash player's store, shared by every browser of the home.
constexpr const char* kFlashSharedObjects = ".macromedia/Flash_Player/#SharedObjects";
constexpr const char* kSilverlightCount = "0";  // no Silverlight on a Linux desktop

}  // namespace

LinuxRun::LinuxRun(Platform& platform, LinuxRoots roots, std::ostream& errors)
    : platform_(platform), roots_(std::move(roots)), errors_(errors), delegate_(platform) {}

std::optional<std::string> LinuxRun::browserArgument(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (BrowserInstalls::isBrowser(argument) || BrowserInstalls::isMacOSOnlyBrowser(argument)) return argument;
    }
    return std::nullopt;
}

KeepList LinuxRun::keepList(const std::vector<BrowserInstall>& installs, FamilyCleaner* cleaner) {
    if (platform_.boolForKey(kRemoveAll)) return {};
    KeepList keychain = delegate_.getSmartFavouritesArray();
    std::set<std::string> sites(keychain.begin(), keychain.end());
    // Every install counts, running or not: reading a login store is safe
    // while its browser runs, and a site saved in one install is kept in all.
    if (cleaner != nullptr) {
        for (const BrowserInstall& install : installs) {
            for (const BrowserProfile& profile : cleaner->profiles(install)) cleaner->addSavedLoginSites(profile, sites);
        }
    }
    return {sites.begin(), sites.end()};
}

LinuxRunStatus LinuxRun::run() {
    delegate_.awakeFromNib();
    std::optional<std::string> browser = browserArgument(platform_.arguments());
    if (!browser) return LinuxRunStatus::NoBrowser;
    if (BrowserInstalls::isMacOSOnlyBrowser(*browser)) {
        errors_ << "tasselby-worker: \"" << *browser << "\" is not a browser of the Linux layout\n";
        return LinuxRunStatus::UnknownBrowser;
    }
    browser_ = *browser;

    std::vector<BrowserInstall> installs = BrowserInstalls::existing(platform_, roots_, browser_);
    std::unique_ptr<FamilyCleaner> cleaner = makeFamilyCleaner(BrowserInstalls::familyOf(browser_), platform_);
    const KeepList keep = keepList(installs, cleaner.get());
    const KeepSet kept(keep);

    CleaningRun run(delegate_, kept, dryRun_, platform_.boolForKey(kSecureDeleteData), errors_);
    if (cleaner != nullptr) {
        for (const BrowserInstall& install : installs) {
            if (cleaner->installRunning(install)) {
                run.skip(kInstallStore, install.userData, kReasonRunningBrowser, true);
                continue;
            }
            for (const BrowserProfile& profile : cleaner->profiles(install)) cleaner->cleanProfile(install, profile, run);
            cleaner->cleanInstall(install, run);
        }
    }
    const std::string flashStore = appendingPathComponent(roots_.home, kFlashSharedObjects);
    FlashSharedObjects::apply(flashStore, FlashSharedObjects::plan(flashStore, run), run);
    report_ = run.runReport();
    counts_ = run.counts();
    if (!dryRun_) notify(counts_);
    return run.skippedForNow() ? LinuxRunStatus::TryAgainLater : LinuxRunStatus::Done;
}

void LinuxRun::notify(const LinuxCounts& counts) {
    if (!platform_.boolForKey(kDisplayNotifications)) return;
    std::string format = platform_.localizedString(kReportFormat, "");
    std::string text = stringWithFormat(
        format, {std::to_string(counts.cookies), std::to_string(counts.trackingCookies),
                 std::to_string(counts.siteStorage.size()), std::to_string(counts.flashSites.size()),
                 kSilverlightCount, browser_});
    delegate_.displayNotificationWithTitle(kNotificationTitle, text);
}

}  // namespace tasselby
