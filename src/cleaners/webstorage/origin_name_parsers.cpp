#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/webstorage/mozilla_scope.h"
#include "keep/keep_set.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr std::string_view kWebScheme = "http";  // matches "https" as well
constexpr std::string_view kOriginSeparator = "_";
constexpr std::string_view kChromeExtensionPrefix = "chrome-extension_";
constexpr std::string_view kSafariExtensionPrefix = "safari-extension_";
constexpr std::string_view kLocalStorageSuffix = ".localstorage";
constexpr std::string_view kWwwPrefix = "www.";
// The extension rule for local storage names "Chrome", which is not a browser
// name the run ever passes: only Chromium's extension storage is spared.
constexpr std::string_view kChromeExtensionBrowser = "Chrome";

bool isWebOrigin(std::string_view name) {
    return name.starts_with(kWebScheme) && name.find(kOriginSeparator) != std::string_view::npos;
}

// Host of a local-storage file name of a web origin: the text between the
// first and second "_" less a leading "www."; with no second "_" the rest of
// the name, ending included, as it stands.
std::string localStorageHost(std::string_view name) {
    std::string_view host = name.substr(name.find(kOriginSeparator) + kOriginSeparator.size());
    std::size_t end = host.find(kOriginSeparator);
    if (end == std::string_view::npos) return std::string(host);
    host = host.substr(0, end);
    if (host.starts_with(kWwwPrefix)) host.remove_prefix(kWwwPrefix.size());
    return std::string(host);
}

bool isLocalStorageExtension(std::string_view name, const std::string& browser) {
    return (browser == kSafari && name.starts_with(kSafariExtensionPrefix)) ||
           ((browser == kChromium || browser == kChromeExtensionBrowser) && name.starts_with(kChromeExtensionPrefix));
}

}  // namespace

std::vector<std::string> WorkerAppDelegate::databaseArray(const std::vector<std::string>& origins,
                                                          const KeepList& keep) {
    KeepSet kept(keep);
    std::vector<std::string> chosen;
    for (const std::string& origin : origins) {
        // A web origin is reduced as a whole, scheme and port included, so its
        // site never matches a kept site: every web database goes. Only the
        // extensions' own databases are spared.
        if (!isWebOrigin(origin) &&
            (origin.starts_with(kChromeExtensionPrefix) || origin.starts_with(kSafariExtensionPrefix))) {
            continue;
        }
        if (!kept.contains(WorkerExtras::siteWithDomainName(origin))) chosen.push_back(origin);
    }
    return chosen;
}

std::vector<std::string> WorkerAppDelegate::localStorageArray(const std::vector<std::string>& fileNames,
                                                              const std::string& browser, const KeepList& keep) {
    KeepSet kept(keep);
    std::vector<std::string> chosen;
    for (const std::string& name : fileNames) {
        // Journals, the tracker database and anything else in the folder are
        // not storage files of their own: they are neither kept nor chosen.
        if (!name.ends_with(kLocalStorageSuffix)) continue;
        if (isLocalStorageExtension(name, browser)) continue;
        std::string host = isWebOrigin(name) ? localStorageHost(name) : deletingPathExtension(lastPathComponent(name));
        if (!kept.contains(WorkerExtras::siteWithDomainName(host))) chosen.push_back(name);
    }
    return chosen;
}

std::vector<std::string> WorkerAppDelegate::mozillaLocalStorage(const std::vector<std::string>& scopes,
                                                                const KeepList& keep) {
    KeepSet kept(keep);
    std::vector<std::string> chosen;
    for (const std::string& scope : scopes) {
        // A scope that is not of the host-reversed form names no site the
        // user could have saved: it is left alone.
        std::optional<std::string> name = MozillaScope::workingName(scope);
        if (!name) continue;
        if (!kept.contains(WorkerExtras::siteWithDomainName(*name))) chosen.push_back(scope);
    }
    return chosen;
}

}  // namespace tasselby
