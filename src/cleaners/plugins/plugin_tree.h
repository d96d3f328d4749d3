#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/worker_app_delegate.h"

namespace tasselby {

// A plug-in's folder tree as the cleaners walk it: listings, reads and
// disposals that never follow a symbolic link out of the tree. A link met on
// the way to an item ends the step there (the listing is empty, the read gives
// nothing, the disposal does not happen); a link that is itself the item is
// removed as a link and never overwritten, since its target is not ours.
//
// Absolute paths are checked below the tree's root; relative paths (resolved
// against the working folder) are checked from their first component on.
class PluginTree {
public:
    PluginTree(WorkerAppDelegate& delegate, std::string root, bool secureDelete);

    // Entry names of a folder, in listing order; empty for anything that is
    // not a real folder reached without a link.
    std::vector<std::string> list(const std::string& folder) const;
    // The whole file as UTF-8 text; nothing when missing, unreadable or linked.
    std::optional<std::string> read(const std::string& file) const;
    // The disposal rule, with separate paths for the overwrite and the removal.
    void dispose(const std::string& wipePath, const std::string& removalPath) const;
    void dispose(const std::string& path) const { dispose(path, path); }

private:
    bool passesLink(const std::string& path, bool itemIncluded) const;

    WorkerAppDelegate& delegate_;
    std::string root_;
    bool secureDelete_;
};

}  // namespace tasselby
