#include "app/worker_app_delegate.h"

namespace tasselby {

// The keep list sources are not built yet: nothing is kept.
KeepList WorkerAppDelegate::getSmartFavouritesArray() { return {}; }
KeepList WorkerAppDelegate::getFirefoxSmartFavouritesArray() { return {}; }

}  // namespace tasselby
