#pragma once

#include <string>

namespace tasselby {

// One profile of an install: its folder and, apart from it, its cache folder.
struct BrowserProfile {
    std::string name;       // the profile folder's name ("Default", "Profile 1", "abcd.default-release")
    std::string path;       // the profile folder
    std::string cachePath;  // the install's cache root plus the folder's name
};

}  // namespace tasselby
