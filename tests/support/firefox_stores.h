#pragma once

#include <string>
#include <vector>

namespace tasselby::testing {

// Fixtures of the stores of a Firefox ESR 153 profile, with the schemas the
// browser writes. Each writer makes the store anew, folders included; paths
// are absolute.

// One "[ProfileN]" section of "profiles.ini".
struct ProfileListing {
    std::string path;
    bool relative = true;
};
// "<root>/profiles.ini" with a [General] section, the profiles in order and an [Install…] section.
void writeProfilesIni(const std::string& root, const std::vector<ProfileListing>& profiles);

// One row of "moz_cookies".
struct FirefoxCookie {
    std::string host;  // a leading "." for a domain cookie
    std::string name;
    std::string originAttributes;
};
// "cookies.sqlite" at schema 17 in write-ahead-log mode, as the browser leaves it.
void writeFirefoxCookies(const std::string& path, const std::vector<FirefoxCookie>& cookies);

// "storage/default/<folder>" of the profile with local storage and IndexedDB
// files in it, for an origin written as Firefox names the folder
// ("https+++example.com+8443^userContextId=1").
void writeOriginStorage(const std::string& profile, const std::string& folderName);
// "storage.sqlite" with its four repositories and one "default" row per
// origin ("https://example.com:8443^userContextId=1"), plus one "temporary"
// row for the first origin.
void writeStorageIndex(const std::string& profile, const std::vector<std::string>& origins);

// "serviceworker.txt" of version 12 with one registration per scope.
std::string serviceWorkerText(const std::vector<std::string>& scopes);

// "logins.json" with one login per hostname ("https://www.example.com").
void writeLoginsJson(const std::string& profile, const std::vector<std::string>& hostnames);

// A file of the given text, folders made.
void writeText(const std::string& path, const std::string& text);

}  // namespace tasselby::testing
