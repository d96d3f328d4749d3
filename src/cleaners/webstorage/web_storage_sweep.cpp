#include "app/worker_app_delegate.h"

namespace tasselby {

// Web storage cleaning is not built yet: nothing is chosen.
long WorkerAppDelegate::removeNonFavLocalStorage(const std::string&, const KeepList&) { return 0; }
std::vector<std::string> WorkerAppDelegate::databaseArray(const std::vector<std::string>&, const KeepList&) { return {}; }
std::vector<std::string> WorkerAppDelegate::localStorageArray(const std::vector<std::string>&, const std::string&,
                                                              const KeepList&) {
    return {};
}
std::vector<std::string> WorkerAppDelegate::mozillaLocalStorage(const std::vector<std::string>&, const KeepList&) {
    return {};
}

}  // namespace tasselby
