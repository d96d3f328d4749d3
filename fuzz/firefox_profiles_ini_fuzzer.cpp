// Firefox's profile list: every profile it answers lies inside the root when
// listed relative to it, is absolute otherwise, and is answered once.
#include <cstdlib>
#include <set>
#include <string>

#include "base/text.h"
#include "fuzz_input.h"
#include "linux/firefox_profiles_ini.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string kRoot = "/home/u/.mozilla/firefox";
    std::set<std::string> folders;
    for (const tasselby::FirefoxProfileEntry& entry :
         tasselby::FirefoxProfilesIni::profiles(tasselby::fuzz::text(data, size), kRoot)) {
        if (!folders.insert(entry.folder).second) std::abort();
        if (!entry.folder.starts_with('/') || entry.folder == "/") std::abort();
        if (!entry.relativePath) continue;
        const std::string& below = *entry.relativePath;
        if (below.empty() || below.starts_with('/') || entry.folder != kRoot + "/" + below) std::abort();
        for (const std::string& part : tasselby::componentsSeparatedByString(below, "/")) {
            if (part.empty() || part == "." || part == "..") std::abort();
        }
    }
    return 0;
}
