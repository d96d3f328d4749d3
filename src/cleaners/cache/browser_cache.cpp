#include "app/worker_app_delegate.h"

namespace tasselby {

// Cache cleaning is not built yet.
void WorkerAppDelegate::removeBrowserCache(const std::string&) {}
void WorkerAppDelegate::clearFireFoxCache() {}
void WorkerAppDelegate::clearChromeCache(const std::string&) {}
void WorkerAppDelegate::clearExtraCache() {}
void WorkerAppDelegate::clearExtraCookieCache() {}

}  // namespace tasselby
