#include "app/worker_app_delegate.h"

namespace tasselby {

// Cookie cleaning is not built yet: every answer is empty.
std::array<long, 2> WorkerAppDelegate::removeCookies(const std::string&, const KeepList&) { return {0, 0}; }
CookieInventory WorkerAppDelegate::cookies(const std::string&, const KeepList&) { return {}; }
void WorkerAppDelegate::deleteChromeChannelID(const std::string&, const KeepList&) {}
void WorkerAppDelegate::deleteSafariCookies(const std::vector<HttpCookie>&) {}

}  // namespace tasselby
