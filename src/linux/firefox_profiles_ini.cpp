#include "linux/firefox_profiles_ini.h"

#include <filesystem>
#include <set>

#include "base/text.h"

namespace tasselby {

namespace {

constexpr std::string_view kProfileSectionPrefix = "Profile";
constexpr std::string_view kPathKey = "Path";
constexpr std::string_view kIsRelativeKey = "IsRelative";
constexpr std::string_view kRelativeYes = "1";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r";
    std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

struct Section {
    std::optional<std::string> path;
    bool relative = false;
};

// The relative path with "." and empty components dropped and ".." applied;
// nothing when it climbs above its start or ends there.
std::optional<std::string> insideRoot(std::string_view path) {
    if (path.starts_with('/')) return std::nullopt;
    std::vector<std::string> parts;
    for (const std::string& part : componentsSeparatedByString(path, "/")) {
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (parts.empty()) return std::nullopt;
            parts.pop_back();
        } else {
            parts.push_back(part);
        }
    }
    if (parts.empty()) return std::nullopt;
    return componentsJoinedByString(parts, "/");
}

std::optional<FirefoxProfileEntry> entryOf(const Section& section, const std::string& root) {
    if (!section.path) return std::nullopt;
    if (section.relative) {
        std::optional<std::string> below = insideRoot(*section.path);
        if (!below) return std::nullopt;
        return FirefoxProfileEntry{appendingPathComponent(root, *below), *below};
    }
    // Firefox resolves an absolute path only; a relative one written without
    // IsRelative=1 would otherwise be taken against our working folder.
    if (!section.path->starts_with('/')) return std::nullopt;
    std::string folder = std::filesystem::path(*section.path).lexically_normal().string();
    while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    if (folder == "/") return std::nullopt;
    return FirefoxProfileEntry{folder, std::nullopt};
}

}  // namespace

std::vector<FirefoxProfileEntry> FirefoxProfilesIni::profiles(std::string_view text, const std::string& root) {
    std::vector<Section> sections;
    bool inProfile = false;
    for (const std::string& rawLine : componentsSeparatedByString(text, "\n")) {
        std::string_view line = trimmed(rawLine);
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;
        if (line.front() == '[') {
            std::size_t close = line.find(']');
            inProfile = close != std::string_view::npos && line.substr(1, close - 1).starts_with(kProfileSectionPrefix);
            if (inProfile) sections.emplace_back();
            continue;
        }
        std::size_t equals = line.find('=');
        if (!inProfile || equals == std::string_view::npos) continue;
        std::string_view key = trimmed(line.substr(0, equals));
        std::string_view value = trimmed(line.substr(equals + 1));
        if (key == kPathKey && !value.empty()) sections.back().path = std::string(value);
        if (key == kIsRelativeKey) sections.back().relative = value == kRelativeYes;
    }

    std::vector<FirefoxProfileEntry> entries;
    std::set<std::string> seen;
    for (const Section& section : sections) {
        std::optional<FirefoxProfileEntry> entry = entryOf(section, root);
        if (entry && seen.insert(entry->folder).second) entries.push_back(std::move(*entry));
    }
    return entries;
}

}  // namespace tasselby
