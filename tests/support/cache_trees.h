#pragma once

#include <string>
#include <vector>

#include "support/sample_home.h"

namespace tasselby::testing {

// Writes the caches of every browser into the home, each cache folder holding
// a few files, next to look-alikes that no cleaner may touch (a GPU cache
// beside "Application Cache", the real "Pepper Data" folder, a plain file and
// a link among the Firefox profiles, Safari's page previews). Chrome and
// Chromium get cache folders for the profiles "Default" and "Profile 1";
// their "Local State" files are left to the caller. Answers the home-relative path of every
// item written, the cleaners' targets and the look-alikes alike.
std::vector<std::string> writeBrowserCaches(const SampleHome& home);

// Writes a per-user temporary-folder tree under root + "/private/var/folders/":
// Safari's media and application caches four levels deep, and decoys at other
// depths, a "MediaCache" plain file and a link to a tree outside. Answers the
// root-relative path of every item written.
std::vector<std::string> writeTemporaryFolders(const std::string& root);

// The items that still exist under the tree (a link counts as itself).
std::vector<std::string> itemsLeft(const SampleHome& tree, const std::vector<std::string>& items);
// The items that are neither one of the gone paths nor inside one of them.
std::vector<std::string> itemsExcept(const std::vector<std::string>& items, const std::vector<std::string>& gone);

}  // namespace tasselby::testing
