#include "app/worker_app_delegate.h"
#include "base/names.h"
#include "storage/secure_delete.h"

namespace tasselby {

void WorkerAppDelegate::dispose(const std::string& path, bool secureDelete) {
    dispose(path, path, secureDelete);
}

void WorkerAppDelegate::dispose(const std::string& wipePath, const std::string& removalPath, bool secureDelete) {
    // A file that could not be overwritten stays: removing it would leave its
    // bytes readable on the disk, which is what the user asked to avoid.
    if (secureDelete && !SecureDelete::wipe(platform_, wipePath)) return;
    platform_.removeItem(removalPath);
}

void WorkerAppDelegate::disposeCache(const std::string& path, bool secureDelete) {
    if (observer_ == nullptr) {
        dispose(path, secureDelete);
        return;
    }
    FileType before = platform_.fileType(path);
    dispose(path, secureDelete);
    if (before != FileType::None && platform_.fileType(path) == FileType::None) {
        noteStore(kCacheStore, path, 1, before == FileType::Directory ? "folder" : "file");
    }
}

void WorkerAppDelegate::noteStore(const std::string& store, const std::string& path, long count,
                                  const std::string& unit, long tracking) {
    if (observer_ == nullptr || count == 0) return;
    std::string home = platform_.homeDirectory();
    while (home.size() > 1 && home.back() == '/') home.pop_back();
    std::string shown = path;
    if (shown.starts_with("~/")) {
        shown.erase(0, 2);
    } else if (shown.starts_with(home + "/")) {
        shown.erase(0, home.size() + 1);
    }
    observer_->storeVisited({store, shown, kRemovedAction, count, unit, tracking, ""});
}

}  // namespace tasselby
