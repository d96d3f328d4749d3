#include <cstdint>
#include <set>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/plugins/flash_settings.h"
#include "cleaners/plugins/plugin_tree.h"

namespace tasselby {

namespace {

constexpr const char* kFlashPlayerFolder = "~/Library/Preferences/Macromedia/Flash Player";
constexpr const char* kSharedObjectsFolder = "~/Library/Preferences/Macromedia/Flash Player/#SharedObjects";

}  // namespace

// Listings use expanded paths, but the paths handed to the overwrite and the
// removal keep their leading "~" except for the removal of a single-"#"
// settings entry. An unexpanded path is relative to the working folder, so
// shared-object folders and "##" entries are normally not found and stay on
// disk, while they are counted all the same. This is deliberate and kept.
long WorkerAppDelegate::removeFlash(const std::string& browser, const KeepList& keep) {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    PluginTree tree(*this, expandTilde(kFlashPlayerFolder), secureDelete);
    std::set<std::string> removed;

    for (const std::string& randomName : tree.list(expandTilde(kSharedObjectsFolder))) {
        std::string level1 = stringWithFormat("%@/%@", {kSharedObjectsFolder, randomName});
        for (const std::string& entry : tree.list(expandTilde(level1))) {
            if (entry.starts_with('.')) continue;
            std::string host = FlashSettings::hostName(entry);
            if (FlashSettings::isKept(keep, host)) continue;
            removed.insert(host);
            tree.dispose(appendingPathComponent(level1, entry));
        }
    }

    std::string settings = appendingPathComponent(kFlashPlayerFolder, FlashSettings::kSettingsPath);
    FlashSettings::walk(tree, expandTilde(settings), [&](const FlashSettings::Entry& entry) {
        if (FlashSettings::isKept(keep, entry.host)) return;
        removed.insert(entry.host);
        std::string path = appendingPathComponent(settings, entry.relativePath);
        tree.dispose(path, entry.wholeSite ? expandTilde(path) : path);
    });

    long count = static_cast<long>(removed.size());
    noteStore(kFlashStore, kFlashPlayerFolder, count, "sites");
    if (browser == kGoogleChrome || browser == kChromium) {
        if (std::optional<std::array<long, 2>> pepper = clearChromeFlash(browser, keep)) {
            count += static_cast<std::int32_t>((*pepper)[1]);
        }
    }
    return count;
}

}  // namespace tasselby
