#pragma once

namespace tasselby {

// Browser names, compared exactly and case-sensitively.
inline constexpr const char* kSafari = "Safari";
inline constexpr const char* kWebKit = "WebKit";
inline constexpr const char* kGoogleChrome = "Google Chrome";
inline constexpr const char* kChromium = "Chromium";
inline constexpr const char* kCamino = "Camino";
inline constexpr const char* kFirefox = "Firefox";
inline constexpr const char* kOpera = "Opera";
// Browsers that only the Linux layout knows.
inline constexpr const char* kBrave = "Brave";
inline constexpr const char* kMicrosoftEdge = "Microsoft Edge";
inline constexpr const char* kVivaldi = "Vivaldi";

// The answer of startupCheck when no argument names a browser.
inline constexpr const char* kQuit = "Quit";

// The main application's preference suite and the keys read from it.
inline constexpr const char* kSuiteName = "com.marrowgatestudios.Tasselby";
inline constexpr const char* kRemoveAll = "removeAll";
inline constexpr const char* kDisplayNotifications = "displayNotifications";
inline constexpr const char* kSecureDeleteData = "secureDeleteData";

inline constexpr const char* kNotificationTitle = "Tasselby";
inline constexpr const char* kReportFormat =
    "%@ Cookies (%@ Tracking Cookies), %@ Databases, %@ Flash, %@ Silverlight, and Cache removed from %@";

// The first CoreFoundation version number with the user notification centre.
inline constexpr double kNotificationCenterVersion = 744.0;

}  // namespace tasselby
