#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// The host of an http or https address, the only kind of address whose site
// the Linux layout judges.
class WebUrl {
public:
    WebUrl() = delete;

    // The host of "http://..." or "https://..." (scheme in any case), lower
    // case, without user information or port; an IPv6 host keeps its
    // brackets. Nothing for any other scheme or an address without a host.
    static std::optional<std::string> webHost(std::string_view url);
};

}  // namespace tasselby
