#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tasselby {

// Whether a cookie name marks a tracking cookie: it begins with one of the
// catalogue's entries, tried in catalogue order, case-sensitively. The name is
// taken exactly as the store holds it; a missing name (SQL NULL) matches nothing.
bool isTrackingCookieName(const std::optional<std::string>& name, const std::vector<std::string>& catalogue);

}  // namespace tasselby
