#pragma once

#include <string>
#include <vector>

#include "app/worker_app_delegate.h"

namespace tasselby {

// Where each browser keeps its cookies and channel-ID certificates, and the
// statements that read and prune them.
inline constexpr const char* kChromeFolder = "~/Library/Application Support/Google/Chrome";
inline constexpr const char* kChromiumFolder = "~/Library/Application Support/Chromium";
inline constexpr const char* kOperaFolder = "~/Library/Application Support/com.operasoftware.Opera";
inline constexpr const char* kFirefoxProfilesFolder = "~/Library/Application Support/Firefox/Profiles/";
inline constexpr const char* kCaminoCookieDatabase = "~/Library/Application Support/Camino/cookies.sqlite";

inline constexpr const char* kChromiumCookieFile = "Cookies";
inline constexpr const char* kOriginBoundCertsFile = "Origin Bound Certs";
inline constexpr const char* kMozillaCookieFile = "cookies.sqlite";

inline constexpr const char* kSelectChromiumCookies = "SELECT * FROM cookies;";
inline constexpr const char* kSelectMozillaCookies = "SELECT * FROM moz_cookies;";
inline constexpr const char* kDeleteChromiumCookie = "DELETE FROM cookies WHERE host_key = '%@' AND creation_utc = '%@';";
inline constexpr const char* kDeleteMozillaCookie = "DELETE FROM moz_cookies WHERE host = '%@' AND id = '%@';";
inline constexpr const char* kPruneChannelIDs = "DELETE FROM origin_bound_certs WHERE origin NOT IN ('%@');";

inline constexpr const char* kNameColumn = "name";
inline constexpr const char* kChromiumHostColumn = "host_key";
inline constexpr const char* kChromiumKeyColumn = "creation_utc";
inline constexpr const char* kMozillaHostColumn = "host";
inline constexpr const char* kMozillaKeyColumn = "id";

// "Google Chrome", "Chromium" and "Opera": the browsers whose cookies sit in
// profile folders and that keep channel-ID certificates.
bool isChromiumFamily(const std::string& browser);

// The profile folders of a Chromium-family browser, in the profile map's
// order; Opera has one, its base folder. Nothing for any other browser.
// Throws RunStopped when the profile list of Chrome or Chromium is unreadable.
std::vector<std::string> chromiumProfileFolders(WorkerAppDelegate& delegate, const std::string& browser);

// Every entry of Firefox's profiles folder that is itself a folder (a link to
// one is not), in listing order. The browser's own profile list is not read.
std::vector<std::string> firefoxProfileFolders(WorkerAppDelegate& delegate);

}  // namespace tasselby
