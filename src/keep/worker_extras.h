#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// Class operations shared by the cleaners: host names reduced to site names,
// and read-only look-ups of saved internet passwords' attributes.
class WorkerExtras {
public:
    WorkerExtras() = delete;

    // The site of a host name (lower case, no leading "." or "www.", cut to its
    // last two or three labels); nothing for input that names no site.
    static std::optional<std::string> siteWithDomainName(const std::string& host);
};

}  // namespace tasselby
