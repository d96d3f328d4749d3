// Firefox's list of service worker registrations: a list that parses is
// written back byte for byte when every registration is kept, and what is
// written with some of them dropped parses again to exactly those kept.
#include <cstdlib>
#include <string>

#include "fuzz_input.h"
#include "linux/firefox_service_worker_file.h"

using tasselby::FirefoxServiceWorkerFile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(tasselby::fuzz::text(data, size));
    std::optional<FirefoxServiceWorkerFile> file = FirefoxServiceWorkerFile::parse(text);
    if (!file) return 0;
    if (file->textKeeping([](const auto&) { return true; }) != text) std::abort();
    std::size_t index = 0;
    std::vector<std::string> keptScopes;
    std::string half = file->textKeeping([&](const FirefoxServiceWorkerFile::Registration& registration) {
        bool keep = index++ % 2 == 0;
        if (keep) keptScopes.push_back(registration.scope);
        return keep;
    });
    std::optional<FirefoxServiceWorkerFile> again = FirefoxServiceWorkerFile::parse(half);
    if (!again || again->registrations().size() != keptScopes.size()) std::abort();
    for (std::size_t i = 0; i < keptScopes.size(); ++i) {
        if (again->registrations()[i].scope != keptScopes[i]) std::abort();
    }
    return 0;
}
