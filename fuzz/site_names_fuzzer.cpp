// Site names: any bytes as a host name. The site, when there is one, is the
// end of the lower-cased name (every letter of valid UTF-8 text, else only
// A to Z) and comes out the same every time.
#include <glib.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "fuzz_input.h"
#include "keep/worker_extras.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string host(tasselby::fuzz::text(data, size));
    std::optional<std::string> site = tasselby::WorkerExtras::siteWithDomainName(host);
    if (!site) return 0;
    std::string lower = host;
    if (g_utf8_validate(host.data(), static_cast<gssize>(host.size()), nullptr)) {
        gchar* down = g_utf8_strdown(host.data(), static_cast<gssize>(host.size()));
        std::unique_ptr<gchar, decltype(&g_free)> owned(down, g_free);
        lower = down;
    } else {
        for (char& c : lower) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        }
    }
    if (!lower.ends_with(*site)) std::abort();
    if (tasselby::WorkerExtras::siteWithDomainName(host) != site) std::abort();
    return 0;
}
