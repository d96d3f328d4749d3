#include <nlohmann/json.hpp>

#include "base/names.h"
#include "base/text.h"
#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"

namespace tasselby {

namespace {

constexpr const char* kChromeLocalState = "~/Library/Application Support/Google/Chrome/Local State";
constexpr const char* kChromiumLocalState = "~/Library/Application Support/Chromium/Local State";

// A display name as text. No cleaner uses it. A name that is an array or an
// object is given by its kind alone: rendering it would recurse once per level
// of nesting, and a hostile file nests deep enough to exhaust the stack.
std::string displayName(const nlohmann::ordered_json& name) {
    if (name.is_string()) return name.get<std::string>();
    if (name.is_structured()) return name.type_name();
    return name.dump();
}

// Nothing deeper than a profile's display name is ever looked at, so arrays
// and objects below that depth are left out while the document is read: a
// deeply nested value would otherwise be copied member by member, one stack
// frame per level, whenever the object holding it grows.
constexpr int kDeepestValueKept = 4;  // document, "profile", "info_cache", the profile, its "name"

bool leaveOutDeepValues(int depth, nlohmann::ordered_json::parse_event_t event, nlohmann::ordered_json&) {
    using Event = nlohmann::ordered_json::parse_event_t;
    return depth <= kDeepestValueKept || (event != Event::object_start && event != Event::array_start);
}

}  // namespace

ProfileMap WorkerAppDelegate::userProfiles(const std::string& browser) {
    std::string path = expandTilde(browser == kGoogleChrome ? kChromeLocalState : kChromiumLocalState);
    std::optional<std::string> text = platform_.readUtf8File(path);
    // Without the browser's own list of profiles no cleaner can tell which
    // folders are profiles; an empty map would quietly skip them all, so the
    // run stops instead.
    if (!text) throw RunStopped("cannot read the profile list \"" + path + "\"");

    return profilesInLocalState(*text);
}

ProfileMap WorkerAppDelegate::profilesInLocalState(const std::string& text) {
    ProfileMap profiles;
    auto document = nlohmann::ordered_json::parse(text, leaveOutDeepValues, false);
    if (document.is_discarded() || !document.is_object()) return profiles;
    auto profile = document.find("profile");
    if (profile == document.end() || !profile->is_object()) return profiles;
    auto infoCache = profile->find("info_cache");
    if (infoCache == profile->end() || !infoCache->is_object()) return profiles;

    for (const auto& [folder, info] : infoCache->items()) {
        // Every cleaner appends the key to a browser folder: "", ".", ".." or
        // a key with "/" would make it clean that folder, one above it or
        // anywhere at all. Such a key is no profile the browser could have.
        if (!isFolderName(folder) || !info.is_object()) continue;
        auto name = info.find("name");
        if (name == info.end()) continue;
        profiles.emplace_back(folder, displayName(*name));
    }
    return profiles;
}

}  // namespace tasselby
