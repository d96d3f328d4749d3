#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "app/worker_app_delegate.h"
#include "cleaners/plugins/plugin_tree.h"

namespace tasselby {

// The per-site settings tree of a Flash player, shared by the system-wide
// player and the browsers' built-in one, and the host-name rules of both.
class FlashSettings {
public:
    FlashSettings() = delete;

    // The player's own settings-domain folder, and the settings folder inside it.
    static constexpr const char* kDomainFolder = "macromedia.com";
    static constexpr const char* kSettingsPath = "macromedia.com/support/flashplayer/sys";

    // One host met in a settings folder.
    struct Entry {
        std::string host;          // the entry's host name
        std::string relativePath;  // below the settings folder: "#host" or "##name/host"
        bool wholeSite;            // a single-"#" entry
    };

    // An entry name without one leading "www.".
    static std::string hostName(std::string_view entryName);
    // Whether the keep list holds the site of a host; a host that names no
    // site is not kept.
    static bool isKept(const KeepList& keep, const std::string& host);
    // Visits, in listing order, every single-"#" entry and every entry of a
    // "##" folder of the settings folder; the global "settings.sol" and names
    // without "#" are passed over.
    static void walk(const PluginTree& tree, const std::string& settingsFolder,
                     const std::function<void(const Entry&)>& visit);
};

}  // namespace tasselby
