#include "linux/flash_shared_objects.h"

#include "base/text.h"
#include "cleaners/plugins/flash_settings.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr const char* kFlash = "Flash";
constexpr const char* kFolders = "folders";
constexpr const char* kFailed = "failed";

}  // namespace

std::vector<FlashSharedObjects::Removal> FlashSharedObjects::plan(const std::string& store, CleaningRun& run) {
    Platform& files = run.platform();
    std::vector<Removal> removals;
    if (files.fileType(store) != FileType::Directory) return removals;
    for (const std::string& randomName : files.contentsOfDirectory(store)) {
        const std::string randomFolder = appendingPathComponent(store, randomName);
        if (files.fileType(randomFolder) != FileType::Directory) continue;
        for (const std::string& entry : files.contentsOfDirectory(randomFolder)) {
            // Hidden entries and the player's own settings folder are no hosts.
            if (entry.starts_with('.') || entry == FlashSettings::kDomainFolder) continue;
            std::string host = FlashSettings::hostName(entry);
            if (run.isKeptHost(host)) continue;
            removals.push_back({appendingPathComponent(randomFolder, entry),
                                WorkerExtras::siteWithDomainName(host).value_or(host)});
        }
    }
    return removals;
}

void FlashSharedObjects::apply(const std::string& store, const std::vector<Removal>& removals, CleaningRun& run) {
    if (removals.empty()) return;
    long removed = 0;
    for (const Removal& removal : removals) {
        if (!run.dispose(removal.path)) continue;
        run.countFlashSite(removal.site);
        ++removed;
    }
    run.report({kFlash, store, removed == 0 ? kFailed : "", removed, kFolders, 0, ""});
}

}  // namespace tasselby
