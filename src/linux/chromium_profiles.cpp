#include "linux/chromium_profiles.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "base/text.h"

namespace tasselby {

namespace {

constexpr const char* kLocalState = "Local State";
constexpr const char* kProfileKey = "profile";
constexpr const char* kInfoCacheKey = "info_cache";
constexpr std::string_view kDefaultProfile = "Default";
constexpr std::string_view kNumberedProfilePrefix = "Profile ";

}  // namespace

std::vector<std::string> ChromiumProfiles::keysOfLocalState(const std::string& text) {
    // ordered_json keeps the keys in the file's order.
    nlohmann::ordered_json state = nlohmann::ordered_json::parse(text, nullptr, false);
    if (!state.is_object()) return {};
    auto profile = state.find(kProfileKey);
    if (profile == state.end() || !profile->is_object()) return {};
    auto infoCache = profile->find(kInfoCacheKey);
    if (infoCache == profile->end() || !infoCache->is_object()) return {};
    std::vector<std::string> keys;
    for (const auto& [key, value] : infoCache->items()) {
        if (isFolderName(key) && std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
    }
    return keys;
}

bool ChromiumProfiles::isProfileFolderName(const std::string& name) {
    if (name == kDefaultProfile) return true;
    if (!name.starts_with(kNumberedProfilePrefix)) return false;
    std::string_view number = std::string_view(name).substr(kNumberedProfilePrefix.size());
    return !number.empty() && std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<BrowserProfile> ChromiumProfiles::of(Platform& platform, const BrowserInstall& install) {
    std::vector<std::string> names;
    // A missing or damaged "Local State" is no error here: the folders say
    // which profiles there are.
    if (std::optional<std::string> state = platform.readUtf8File(appendingPathComponent(install.userData, kLocalState))) {
        names = keysOfLocalState(*state);
    }
    std::vector<std::string> folders = platform.contentsOfDirectory(install.userData);
    std::sort(folders.begin(), folders.end());
    for (const std::string& folder : folders) {
        if (isProfileFolderName(folder) && std::find(names.begin(), names.end(), folder) == names.end()) {
            names.push_back(folder);
        }
    }
    std::vector<BrowserProfile> profiles;
    for (const std::string& name : names) {
        std::string path = appendingPathComponent(install.userData, name);
        // A profile folder that is a link leads out of the install: not ours to clean.
        if (platform.fileType(path) != FileType::Directory) continue;
        profiles.push_back({name, path, appendingPathComponent(install.cacheRoot, name)});
    }
    return profiles;
}

}  // namespace tasselby
