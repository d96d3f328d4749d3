#include "app/worker_app_delegate.h"

namespace tasselby {

// Plug-in storage cleaning is not built yet: nothing is counted.
long WorkerAppDelegate::removeFlash(const std::string&, const KeepList&) { return 0; }
std::optional<std::array<long, 2>> WorkerAppDelegate::clearChromeFlash(const std::string&, const KeepList&) {
    return std::nullopt;
}
long WorkerAppDelegate::removeSilverlight(const KeepList&) { return 0; }

}  // namespace tasselby
