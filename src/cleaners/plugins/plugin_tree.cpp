#include "cleaners/plugins/plugin_tree.h"

#include <utility>

namespace tasselby {

PluginTree::PluginTree(WorkerAppDelegate& delegate, std::string root, bool secureDelete)
    : delegate_(delegate), root_(std::move(root)), secureDelete_(secureDelete) {}

std::vector<std::string> PluginTree::list(const std::string& folder) const {
    if (passesLink(folder, true)) return {};
    return delegate_.platform().contentsOfDirectory(folder);
}

std::optional<std::string> PluginTree::read(const std::string& file) const {
    if (passesLink(file, true)) return std::nullopt;
    return delegate_.platform().readUtf8File(file);
}

void PluginTree::dispose(const std::string& wipePath, const std::string& removalPath) const {
    if (passesLink(removalPath, false)) return;
    // Overwriting through a link would write into whatever it points at;
    // skipping the overwrite is what the rule does for a missing item.
    delegate_.dispose(wipePath, removalPath, secureDelete_ && !passesLink(wipePath, true));
}

bool PluginTree::passesLink(const std::string& path, bool itemIncluded) const {
    std::size_t start = 0;
    if (path.starts_with('/')) {
        if (path == root_) {
            start = path.size();
        } else if (path.starts_with(root_ + "/")) {
            start = root_.size() + 1;
        } else {
            return true;  // not inside the tree at all: treated like a link out of it
        }
    }
    Platform& platform = delegate_.platform();
    for (std::size_t slash = path.find('/', start); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        if (slash > 0 && platform.fileType(path.substr(0, slash)) == FileType::SymbolicLink) return true;
    }
    return itemIncluded && platform.fileType(path) == FileType::SymbolicLink;
}

}  // namespace tasselby
