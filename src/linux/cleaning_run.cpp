#include "linux/cleaning_run.h"

#include <ostream>

#include "base/text.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr const char* kRemoved = "removed";
constexpr const char* kWouldRemove = "would remove";
constexpr const char* kSkipped = "skipped";

}  // namespace

CleaningRun::CleaningRun(WorkerAppDelegate& delegate, const KeepSet& keep, bool dryRun, bool secureDelete,
                         std::ostream& errors)
    : delegate_(delegate),
      keep_(keep),
      dryRun_(dryRun),
      secureDelete_(secureDelete),
      errors_(errors),
      catalogue_(delegate.defaultTrackingCookies()) {}

bool CleaningRun::isKeptHost(std::string_view host) const {
    return keep_.contains(WorkerExtras::siteWithDomainName(std::string(host)));
}

bool CleaningRun::dispose(const std::string& path) {
    Platform& files = platform();
    FileType type = files.fileType(path);
    if (type == FileType::None) return false;
    if (dryRun_) return true;
    // A link's target is not ours: it goes as a link whatever the preferences say.
    if (type == FileType::SymbolicLink || !secureDelete_) return files.removeItem(path);
    if (type == FileType::Directory) return disposeFolderSecurely(path);
    delegate_.dispose(path, true);
    return files.fileType(path) == FileType::None;
}

bool CleaningRun::disposeFolderSecurely(const std::string& folder) {
    Platform& files = platform();
    bool everythingGone = true;
    for (const std::string& name : files.contentsOfDirectory(folder)) {
        std::string item = appendingPathComponent(folder, name);
        switch (files.fileType(item)) {
            case FileType::Directory:
                everythingGone = disposeFolderSecurely(item) && everythingGone;
                break;
            case FileType::Regular:
                delegate_.dispose(item, true);
                everythingGone = files.fileType(item) == FileType::None && everythingGone;
                break;
            default:  // links, sockets, pipes: nothing of theirs to overwrite
                everythingGone = files.removeItem(item) && everythingGone;
                break;
        }
    }
    // A file that could not be overwritten keeps its folder: removing the
    // folder would take the file along unwiped.
    return everythingGone && files.removeItem(folder);
}

void CleaningRun::countCookies(long removed, long tracking) {
    counts_.cookies += removed;
    counts_.trackingCookies += tracking;
}

void CleaningRun::countSiteStorage(const std::string& profile, const std::string& origin) {
    counts_.siteStorage.insert(profile + '\n' + origin);
}

void CleaningRun::countFlashSite(const std::string& site) { counts_.flashSites.insert(site); }

std::string CleaningRun::relativeToHome(const std::string& path) {
    std::string home = appendingPathComponent(platform().homeDirectory(), "");
    if (home.empty() || home == "/" || !path.starts_with(home)) return path;
    if (path.size() == home.size()) return ".";
    if (path[home.size()] != '/') return path;
    return path.substr(home.size() + 1);
}

void CleaningRun::report(StoreReport entry) {
    entry.path = relativeToHome(entry.path);
    if (entry.action.empty()) entry.action = dryRun_ ? kWouldRemove : kRemoved;
    report_.push_back(std::move(entry));
}

void CleaningRun::skip(const std::string& store, const std::string& path, const std::string& reason, bool tryAgain) {
    StoreReport entry;
    entry.store = store;
    entry.path = path;
    entry.action = kSkipped;
    entry.reason = reason;
    report(std::move(entry));
    if (!tryAgain) return;
    skippedForNow_ = true;
    errors_ << "tasselby-worker: skipped " << store << " " << report_.back().path << ": " << reason << '\n';
}

}  // namespace tasselby
