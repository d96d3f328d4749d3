#include <nlohmann/json.hpp>

#include "base/names.h"
#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"

namespace tasselby {

namespace {

constexpr const char* kChromeLocalState = "~/Library/Application Support/Google/Chrome/Local State";
constexpr const char* kChromiumLocalState = "~/Library/Application Support/Chromium/Local State";

}  // namespace

ProfileMap WorkerAppDelegate::userProfiles(const std::string& browser) {
    std::string path = expandTilde(browser == kGoogleChrome ? kChromeLocalState : kChromiumLocalState);
    std::optional<std::string> text = platform_.readUtf8File(path);
    // Without the browser's own list of profiles no cleaner can tell which
    // folders are profiles; an empty map would quietly skip them all, so the
    // run stops instead.
    if (!text) throw RunStopped("cannot read the profile list \"" + path + "\"");

    ProfileMap profiles;
    auto document = nlohmann::ordered_json::parse(*text, nullptr, false);
    if (document.is_discarded() || !document.is_object()) return profiles;
    auto profile = document.find("profile");
    if (profile == document.end() || !profile->is_object()) return profiles;
    auto infoCache = profile->find("info_cache");
    if (infoCache == profile->end() || !infoCache->is_object()) return profiles;

    for (const auto& [folder, info] : infoCache->items()) {
        if (!info.is_object()) continue;
        auto name = info.find("name");
        if (name == info.end()) continue;
        profiles.emplace_back(folder, name->is_string() ? name->get<std::string>() : name->dump());
    }
    return profiles;
}

}  // namespace tasselby
