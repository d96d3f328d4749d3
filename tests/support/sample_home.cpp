#include "support/sample_home.h"

#include <plist/plist.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace tasselby::testing {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder(const std::string& prefix) {
    std::string pattern = (fs::temp_directory_path() / (prefix + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string SampleHome::path(const std::string& relative) const {
    std::string tail = relative;
    if (tail.starts_with("~/")) tail = tail.substr(2);
    if (tail == "~") tail.clear();
    return tail.empty() ? root_ : root_ + "/" + tail;
}

std::string SampleHome::writeFile(const std::string& relative, const std::string& contents) const {
    std::string full = path(relative);
    fs::create_directories(fs::path(full).parent_path());
    std::ofstream out(full, std::ios::binary | std::ios::trunc);
    out << contents;
    if (!out) throw std::runtime_error("cannot write " + full);
    return full;
}

std::string SampleHome::makeFolder(const std::string& relative) const {
    std::string full = path(relative);
    fs::create_directories(full);
    return full;
}

bool SampleHome::exists(const std::string& relative) const {
    std::error_code ignored;
    return fs::symlink_status(path(relative), ignored).type() != fs::file_type::not_found;
}

std::string SampleHome::read(const std::string& relative) const {
    std::ifstream in(path(relative), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::map<std::string, std::string> snapshot(const std::string& folder, const std::vector<std::string>& skip) {
    std::map<std::string, std::string> items;
    std::error_code error, ignored;
    for (auto it = fs::recursive_directory_iterator(folder, error); !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
        std::string relative = it->path().lexically_relative(folder).string();
        if (std::find(skip.begin(), skip.end(), relative) != skip.end()) {
            it.disable_recursion_pending();
            continue;
        }
        struct stat info {};
        ::lstat(it->path().c_str(), &info);
        std::string state = std::to_string(info.st_mode);
        if (S_ISREG(info.st_mode)) state += " " + SampleHome(folder).read(relative);
        if (S_ISLNK(info.st_mode)) state += " -> " + fs::read_symlink(it->path(), ignored).string();
        items.emplace(relative, state);
    }
    return items;
}

void SampleHome::writePreferences(const std::string& domain, const std::map<std::string, PreferenceValue>& values,
                                  PlistFormat format) const {
    plist_t root = plist_new_dict();
    for (const auto& [key, value] : values) {
        plist_t node = nullptr;
        switch (value.kind) {
            case PreferenceValue::Kind::Boolean: node = plist_new_bool(value.number != 0); break;
            case PreferenceValue::Kind::Integer: node = plist_new_uint(static_cast<uint64_t>(value.number)); break;
            case PreferenceValue::Kind::String: node = plist_new_string(value.text.c_str()); break;
        }
        plist_dict_set_item(root, key.c_str(), node);
    }
    char* bytes = nullptr;
    uint32_t length = 0;
    if (format == PlistFormat::Binary) {
        plist_to_bin(root, &bytes, &length);
    } else {
        plist_to_xml(root, &bytes, &length);
    }
    writeFile("Library/Preferences/" + domain + ".plist", std::string(bytes, length));
    std::free(bytes);
    plist_free(root);
}

void SampleHome::writeSuitePreferences(const std::map<std::string, bool>& values) const {
    std::map<std::string, PreferenceValue> converted;
    for (const auto& [key, value] : values) converted.emplace(key, PreferenceValue::boolean(value));
    writePreferences("com.marrowgatestudios.Tasselby", converted);
}

void SampleHome::writeLocalState(const std::string& browserRoot,
                                 const std::vector<std::pair<std::string, std::string>>& profiles) const {
    nlohmann::ordered_json infoCache = nlohmann::ordered_json::object();
    int avatar = 0;
    for (const auto& [folder, name] : profiles) {
        nlohmann::ordered_json entry = {{"user_name", ""},
                                        {"avatar_icon", "chrome://theme/IDR_PROFILE_AVATAR_" + std::to_string(avatar++)},
                                        {"background_apps", false}};
        if (!name.empty()) entry["name"] = name;
        infoCache[folder] = entry;
    }
    nlohmann::ordered_json document = {
        {"profile", {{"info_cache", infoCache}, {"last_used", profiles.empty() ? "" : profiles.front().first}}}};
    writeFile(browserRoot + "/Local State", document.dump(3));
}

}  // namespace tasselby::testing
