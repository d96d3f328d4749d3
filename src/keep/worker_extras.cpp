#include "keep/worker_extras.h"

namespace tasselby {

// Site names are not built yet.
std::optional<std::string> WorkerExtras::siteWithDomainName(const std::string& host) { return host; }

}  // namespace tasselby
