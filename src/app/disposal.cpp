#include "app/worker_app_delegate.h"
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

}  // namespace tasselby
