#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// The origin of a web page, "scheme://host[:port]", of the two schemes the
// Linux layout judges: http and https. Every other scheme (extensions,
// files, the browser's own pages) is no web origin and is never touched.
struct WebOrigin {
    std::string scheme;  // "http" or "https"
    std::string host;    // lower case as the browsers store it
    int port = 0;        // 0: the scheme's default port

    // "scheme://host[:port]", the port only when it is not the default.
    std::string text() const;

    // From an origin or URL text ("http://a.example:8080", "https://a.example/x"),
    // and from a storage key: the origin is the part before the first "^"
    // (the partition data after it is not part of the origin). The scheme
    // may be in any case and user information may precede the host, as in
    // addresses of saved logins; scheme and host come back in lower case.
    static std::optional<WebOrigin> fromUrl(std::string_view url);
    // From a Chromium folder identifier "scheme_host_port" ("https_example.com_0";
    // a port of 0 is the default port; an IPv6 host's ":" written as "_").
    static std::optional<WebOrigin> fromIdentifier(std::string_view identifier);
};

}  // namespace tasselby
