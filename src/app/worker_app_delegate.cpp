#include "app/worker_app_delegate.h"

#include <cmath>

#include "base/names.h"
#include "base/text.h"

namespace tasselby {

void WorkerAppDelegate::awakeFromNib() {
    platform_.addSuiteNamed(kSuiteName);
    // Below this version there is no notification centre to register with;
    // a version that is not a number fails the comparison as well.
    if (platform_.coreFoundationVersionNumber() >= kNotificationCenterVersion) {
        platform_.defaultUserNotificationCenter().setDelegate(this);
    }
}

void WorkerAppDelegate::applicationDidFinishLaunching() {
    std::string browser = startupCheck();
    if (browser == kQuit) platform_.terminate();
    clearData(browser);
}

std::string WorkerAppDelegate::startupCheck() {
    static const char* const kBrowsers[] = {kSafari, kWebKit, kGoogleChrome, kChromium, kCamino, kFirefox, kOpera};
    // Argument 0, the program path, is looked at like every other argument.
    for (const std::string& argument : platform_.arguments()) {
        for (const char* browser : kBrowsers) {
            if (argument == browser) return argument;
        }
    }
    platform_.terminate();
    return kQuit;  // termination does not come back; the answer is what it would be
}

void WorkerAppDelegate::clearData(const std::string& browser) {
    KeepList keep;
    if (!platform_.boolForKey(kRemoveAll)) {
        KeepList saved = browser == kFirefox ? getFirefoxSmartFavouritesArray() : getSmartFavouritesArray();
        keep.insert(keep.end(), saved.begin(), saved.end());
    }

    std::array<long, 2> cookieCounts = removeCookies(browser, keep);
    long databases = removeNonFavLocalStorage(browser, keep);
    long flash = removeFlash(browser, keep);
    long silverlight = removeSilverlight(keep);
    removeBrowserCache(browser);
    keep.clear();

    // The report line is made when someone will read it: the notification,
    // or the observer (which hears it whether or not a notification goes).
    bool notify = platform_.boolForKey(kDisplayNotifications);
    if (notify || observer_ != nullptr) {
        std::string format = platform_.localizedString(kReportFormat, "");
        std::string text = stringWithFormat(format, {std::to_string(cookieCounts[0]), std::to_string(cookieCounts[1]),
                                                     std::to_string(databases), std::to_string(flash),
                                                     std::to_string(silverlight), browser});
        if (notify) displayNotificationWithTitle(kNotificationTitle, text);
        if (observer_ != nullptr) {
            observer_->runFinished(browser, {cookieCounts[0], cookieCounts[1], databases, flash, silverlight}, text);
        }
    }
    platform_.terminate();
}

void WorkerAppDelegate::displayNotificationWithTitle(const std::string& title, const std::string& text) {
    // The preference is tested again here although the run tested it before
    // building the text: a direct call must respect it too.
    if (!(platform_.coreFoundationVersionNumber() >= kNotificationCenterVersion) ||
        !platform_.boolForKey(kDisplayNotifications)) {
        return;
    }
    UserNotification notification;
    notification.title = stringWithFormat("%@", {title});
    notification.subtitle = stringWithFormat("%@", {text});
    notification.hasActionButton = false;
    notification.soundName = std::nullopt;
    notification.deliveryDelaySeconds = 0;
    platform_.defaultUserNotificationCenter().scheduleNotification(notification);
}

void WorkerAppDelegate::didActivateNotification(UserNotificationCenter& center, const UserNotification& notification) {
    center.removeDeliveredNotification(notification);
}

bool WorkerAppDelegate::shouldPresentNotification(UserNotificationCenter&, const UserNotification&) {
    return true;
}

std::string WorkerAppDelegate::expandTilde(const std::string& path) {
    return tasselby::expandTilde(path, platform_.homeDirectory());
}

}  // namespace tasselby
