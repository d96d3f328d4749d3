#pragma once

#include <string>
#include <vector>

#include "linux/browser_installs.h"
#include "linux/browser_profile.h"
#include "platform/platform.h"

namespace tasselby {

// The profiles of a Chromium-family install: the keys of "profile" ->
// "info_cache" in "Local State", then every folder named "Default" or
// "Profile N" that the file did not list. Only existing folders are answered.
class ChromiumProfiles {
public:
    ChromiumProfiles() = delete;

    static std::vector<BrowserProfile> of(Platform& platform, const BrowserInstall& install);

    // The profile keys of a "Local State" text, in the file's order, each once,
    // leaving out every key that could not be a folder name of its own (empty,
    // ".", "..", or holding "/" or a zero byte). Nothing for text that is not
    // such a JSON object.
    static std::vector<std::string> keysOfLocalState(const std::string& text);
    // Whether a folder name is "Default" or "Profile " and a number.
    static bool isProfileFolderName(const std::string& name);
};

}  // namespace tasselby
