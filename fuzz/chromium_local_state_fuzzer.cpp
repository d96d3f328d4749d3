// The Linux layout's reading of "Local State": any text as the browser's
// profile list. Every key answered is a folder name of its own (never empty,
// ".", ".." or holding "/" or a zero byte), and each comes once.
#include <cstdlib>
#include <set>
#include <string>

#include "base/text.h"
#include "fuzz_input.h"
#include "linux/chromium_profiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(tasselby::fuzz::text(data, size));
    std::set<std::string> seen;
    for (const std::string& key : tasselby::ChromiumProfiles::keysOfLocalState(text)) {
        if (!tasselby::isFolderName(key) || key.find('\0') != std::string::npos) std::abort();
        if (!seen.insert(key).second) std::abort();
        tasselby::ChromiumProfiles::isProfileFolderName(key);
    }
    return 0;
}
