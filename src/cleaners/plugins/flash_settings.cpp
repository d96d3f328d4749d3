#include "cleaners/plugins/flash_settings.h"

#include <algorithm>

#include "base/text.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr const char* kGlobalSettings = "settings.sol";
constexpr std::string_view kWww = "www.";
constexpr std::string_view kGroupPrefix = "##";

}  // namespace

std::string FlashSettings::hostName(std::string_view entryName) {
    if (entryName.starts_with(kWww)) entryName.remove_prefix(kWww.size());
    return std::string(entryName);
}

bool FlashSettings::isKept(const KeepList& keep, const std::string& host) {
    std::optional<std::string> site = WorkerExtras::siteWithDomainName(host);
    return site && std::find(keep.begin(), keep.end(), *site) != keep.end();
}

void FlashSettings::walk(const PluginTree& tree, const std::string& settingsFolder,
                         const std::function<void(const Entry&)>& visit) {
    for (const std::string& entry : tree.list(settingsFolder)) {
        if (entry == kGlobalSettings || !entry.starts_with('#')) continue;
        if (!entry.starts_with(kGroupPrefix)) {
            visit({hostName(std::string_view(entry).substr(1)), entry, true});
            continue;
        }
        // A "##" folder holds one entry per host; the folder itself stays,
        // and its entries are taken as they are, dot-names included.
        for (const std::string& host : tree.list(appendingPathComponent(settingsFolder, entry))) {
            visit({hostName(host), appendingPathComponent(entry, host), false});
        }
    }
}

}  // namespace tasselby
