// The origin-name parsers: each line a database origin, a local-storage file
// name and a Mozilla storage scope at once; the sites of the lines at even
// positions are kept. Every parser answers some of its names, in their order.
#include <cstdlib>
#include <string>

#include "app/worker_app_delegate.h"
#include "base/names.h"
#include "base/text.h"
#include "cleaners/webstorage/mozilla_scope.h"
#include "fuzz_input.h"
#include "keep/worker_extras.h"
#include "platform/fake_platform.h"
#include "platform/posix_files.h"

namespace {

using tasselby::fuzz::isOrderedSubset;

void checkScope(const std::string& scope) {
    tasselby::MozillaScope::workingName(scope);
    if (std::optional<std::string> decoded = tasselby::MozillaScope::decodedFormText(scope)) {
        if (!tasselby::isValidUtf8(*decoded)) std::abort();
    }
    if (tasselby::MozillaScope::reversed(scope).size() != scope.size()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tasselby::FakePlatform platform("/nonexistent");
    static tasselby::WorkerAppDelegate delegate(platform);
    static const char* const kBrowsers[] = {tasselby::kSafari, tasselby::kGoogleChrome, tasselby::kChromium,
                                            tasselby::kOpera, "Chrome"};

    std::vector<std::string> names = tasselby::fuzz::lines(tasselby::fuzz::text(data, size));
    tasselby::KeepList keep;
    for (std::size_t i = 0; i < names.size(); i += 2) {
        if (std::optional<std::string> site = tasselby::WorkerExtras::siteWithDomainName(names[i])) {
            keep.push_back(*site);
        }
    }
    const char* browser = kBrowsers[size % std::size(kBrowsers)];
    if (!isOrderedSubset(delegate.databaseArray(names, keep), names)) std::abort();
    if (!isOrderedSubset(delegate.localStorageArray(names, browser, keep), names)) std::abort();
    if (!isOrderedSubset(delegate.mozillaLocalStorage(names, keep), names)) std::abort();
    for (const std::string& name : names) checkScope(name);
    return 0;
}
