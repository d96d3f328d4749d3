// Names of Firefox's origin folders, one per line: a decoded name is an http
// or https origin, and writing it back gives the name again whenever the name
// holds none of the characters the folder names replace.
#include <cstdlib>
#include <string>
#include <string_view>

#include "fuzz_input.h"
#include "linux/firefox_storage_origin.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view kReplaced = "/:*?\"<>|\\";
    for (const std::string& name : tasselby::fuzz::lines(tasselby::fuzz::text(data, size))) {
        std::optional<tasselby::FirefoxStorageOrigin> origin = tasselby::FirefoxStorageOrigin::fromFolderName(name);
        if (!origin) continue;
        if (origin->scheme != "http" && origin->scheme != "https") std::abort();
        if (origin->host.empty()) std::abort();
        if (name.find_first_of(kReplaced) != std::string::npos) continue;
        if (tasselby::FirefoxStorageOrigin::folderName(origin->origin() + origin->attributes) != name) std::abort();
    }
    return 0;
}
