#pragma once

#include <string>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// The names of the entries of a folder that are folders themselves, in
// listing order. A link is not a folder here, whatever it points at, so a
// walk built on this never leaves the tree it started in. A missing or
// unreadable folder has none.
std::vector<std::string> subfolders(Platform& platform, const std::string& folder);

}  // namespace tasselby
