#include "cleaners/cache/subfolders.h"

#include "base/text.h"

namespace tasselby {

std::vector<std::string> subfolders(Platform& platform, const std::string& folder) {
    std::vector<std::string> names;
    for (std::string& name : platform.contentsOfDirectory(folder)) {
        if (platform.fileType(appendingPathComponent(folder, name)) == FileType::Directory) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

}  // namespace tasselby
