#include <set>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/plugins/flash_settings.h"
#include "cleaners/plugins/plugin_tree.h"

namespace tasselby {

namespace {

constexpr const char* kChromeDataRoot = "~/Library/Application Support/Google/Chrome";
constexpr const char* kChromiumDataRoot = "~/Library/Application Support/Chromium";
// Appended to a profile folder as text: it brings its own separator.
constexpr const char* kPepperSharedObjects = "/Pepper Data/Shockwave Flash/WritableRoot/#SharedObjects";

}  // namespace

// The built-in player keeps shared objects and settings per profile, so a host
// counts once per profile: the same host in two profiles is two pairs.
std::optional<std::array<long, 2>> WorkerAppDelegate::clearChromeFlash(const std::string& browser,
                                                                        const KeepList& keep) {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    if (browser != kGoogleChrome && browser != kChromium) return std::nullopt;
    ProfileMap profiles = userProfiles(browser);
    std::string dataRoot = expandTilde(browser == kGoogleChrome ? kChromeDataRoot : kChromiumDataRoot);
    std::set<std::string> seen;
    std::set<std::string> removed;

    for (const auto& profileEntry : profiles) {
        // A plain reference rather than a structured binding: the lambda below
        // captures it, which clang 14 (the fuzz build's compiler) refuses.
        const std::string& profile = profileEntry.first;
        std::string store = appendingPathComponent(dataRoot, profile) + kPepperSharedObjects;
        PluginTree tree(*this, store, secureDelete);
        auto judge = [&](const std::string& host, const std::string& path) {
            std::string key = stringWithFormat("%@:%@", {profile, host});
            seen.insert(key);
            if (FlashSettings::isKept(keep, host)) return;
            removed.insert(key);
            tree.dispose(path);
        };
        for (const std::string& randomName : tree.list(store)) {
            std::string randomFolder = stringWithFormat("%@/%@", {store, randomName});
            for (const std::string& entry : tree.list(randomFolder)) {
                if (entry.starts_with('.')) continue;
                if (entry != FlashSettings::kDomainFolder) {
                    judge(FlashSettings::hostName(entry), appendingPathComponent(randomFolder, entry));
                    continue;
                }
                // The settings-domain folder is only descended into, never taken for a host.
                std::string settings = stringWithFormat("%@/%@", {randomFolder, FlashSettings::kSettingsPath});
                FlashSettings::walk(tree, settings, [&](const FlashSettings::Entry& setting) {
                    judge(setting.host, appendingPathComponent(settings, setting.relativePath));
                });
            }
        }
    }
    return std::array<long, 2>{static_cast<long>(seen.size()), static_cast<long>(removed.size())};
}

}  // namespace tasselby
