#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tasselby {

// One profile a Firefox root lists.
struct FirefoxProfileEntry {
    std::string folder;  // the profile folder, lexically normalised
    // The path below the root for a profile listed relative to it; nothing for
    // one listed by absolute path. Firefox keeps a relative profile's caches
    // under the same path below the cache root, and an absolute profile's
    // caches inside the profile folder itself.
    std::optional<std::string> relativePath;
    bool operator==(const FirefoxProfileEntry&) const = default;
};

// Reads the profile list of a Firefox root ("profiles.ini").
class FirefoxProfilesIni {
public:
    FirefoxProfilesIni() = delete;

    // Every "[Profile…]" section that has a Path, in file order, each folder
    // once. With IsRelative=1 the path is taken below root; otherwise it is
    // taken as written and must be absolute. A relative path that is absolute,
    // names the root itself or climbs out of it through ".." is skipped, as is
    // an absolute path that is "/" alone. Lines may end in "\r\n"; ";" and "#"
    // start comments; text that is not INI at all simply lists nothing.
    static std::vector<FirefoxProfileEntry> profiles(std::string_view text, const std::string& root);
};

}  // namespace tasselby
