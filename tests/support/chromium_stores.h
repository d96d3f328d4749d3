#pragma once

#include <map>
#include <string>
#include <vector>

namespace tasselby::testing {

// Fixtures of the stores of a Chromium 156 profile, with the schemas the
// browser writes. Each writer makes the store anew, folders included.

// One row of "Login Data"'s "logins" table.
struct SavedLogin {
    std::string originUrl;
    std::string signonRealm;
    bool blacklisted = false;  // a "never save here" entry rather than a password
};
// "Login Data" (or "Login Data For Account"), meta version 43.
void writeLoginData(const std::string& path, const std::vector<SavedLogin>& logins);

// A LevelDB at the folder holding exactly these keys, its files made 0600 as
// the browser makes them.
void writeLevelDb(const std::string& folder, const std::map<std::string, std::string>& entries);
// Every key and value of a LevelDB, read through a copy so the store is not touched.
std::map<std::string, std::string> readLevelDb(const std::string& folder);

// The keys of "Local Storage/leveldb" for one origin ("http://a.localhost:8080")
// with the given script keys, and the version key.
std::map<std::string, std::string> localStorageEntries(const std::vector<std::string>& origins);

// The keys of "Service Worker/Database" for one registration per origin
// (origins end in "/"), registration and version ids counted from 1.
std::map<std::string, std::string> serviceWorkerEntries(const std::vector<std::string>& origins);

// "Service Worker/CacheStorage/<folder>/index.txt" naming the origin
// ("http://a.localhost:8080/"), with one cache folder beside it.
void writeCacheStorage(const std::string& folder, const std::string& origin);

// A Chromium profile of four sites on port 18765 at the folder (made anew): alpha has a
// saved password in "Login Data", gamma one in "Login Data For Account";
// beta has only a "never save" entry, delta nothing. Every store holds data
// of some of them (and of an extension, which no run may touch):
// cleaning removes 4 cookie rows (1 of them tracking: alpha's "__utma"),
// the site storage of beta and delta (2 origins) and beta's Flash folder.
void writeExampleChromiumProfile(const std::string& profile);
inline constexpr long kExampleRemovedCookies = 4;
inline constexpr long kExampleRemovedTracking = 1;
inline constexpr long kExampleRemovedOrigins = 2;
inline constexpr long kExampleRemovedFlashSites = 1;

}  // namespace tasselby::testing
