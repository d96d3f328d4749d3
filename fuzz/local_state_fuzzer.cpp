// "Local State" profiles: any text as the browser's profile list. Every
// profile key answered is a plain folder name, whatever the document holds.
#include <cstdlib>
#include <string>

#include "app/worker_app_delegate.h"
#include "base/text.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(tasselby::fuzz::text(data, size));
    for (const auto& [folder, name] : tasselby::WorkerAppDelegate::profilesInLocalState(text)) {
        if (!tasselby::isFolderName(folder)) std::abort();
    }
    return 0;
}
