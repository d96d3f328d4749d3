#include "linux/web_origin.h"

#include <algorithm>
#include <charconv>

namespace tasselby {

namespace {

constexpr std::string_view kHttp = "http";
constexpr std::string_view kHttps = "https";
constexpr std::string_view kSchemeSeparator = "://";
constexpr char kPartitionSeparator = '^';
// Characters that no host of a stored origin holds; a zero byte among them.
constexpr std::string_view kNotInHost{"/\\ ^@\0", 6};
constexpr int kHttpPort = 80;
constexpr int kHttpsPort = 443;
constexpr int kHighestPort = 65535;

std::string lowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

std::optional<int> portNumber(std::string_view text) {
    int port = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || port < 0 || port > kHighestPort) {
        return std::nullopt;
    }
    return port;
}

std::optional<WebOrigin> make(std::string_view scheme, std::string_view host, int port) {
    if (scheme != kHttp && scheme != kHttps) return std::nullopt;
    if (host.empty() || host.find_first_of(kNotInHost) != std::string_view::npos) return std::nullopt;
    // An IPv6 host is whole only with both brackets, and only it holds ":".
    bool bracketed = host.starts_with('[') && host.ends_with(']');
    if (!bracketed && host.find_first_of("[]:") != std::string_view::npos) return std::nullopt;
    if (port == (scheme == kHttp ? kHttpPort : kHttpsPort)) port = 0;
    return WebOrigin{std::string(scheme), std::string(host), port};
}

}  // namespace

std::string WebOrigin::text() const {
    std::string origin = scheme + "://" + host;
    if (port != 0) origin += ":" + std::to_string(port);
    return origin;
}

std::optional<WebOrigin> WebOrigin::fromUrl(std::string_view url) {
    url = url.substr(0, url.find(kPartitionSeparator));
    std::size_t separator = url.find(kSchemeSeparator);
    if (separator == std::string_view::npos) return std::nullopt;
    std::string scheme = lowercased(url.substr(0, separator));
    std::string_view authority = url.substr(separator + kSchemeSeparator.size());
    // A backslash ends the authority as "/" does: browsers read web addresses so.
    authority = authority.substr(0, authority.find_first_of("/?#\\"));
    if (std::size_t at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);
    std::string_view host = authority;
    int port = 0;
    if (std::size_t colon = authority.rfind(':');
        colon != std::string_view::npos && authority.find(']', colon) == std::string_view::npos) {
        std::optional<int> number = portNumber(authority.substr(colon + 1));
        if (!number) return std::nullopt;
        port = *number;
        host = authority.substr(0, colon);
    }
    return make(scheme, lowercased(host), port);
}

std::optional<WebOrigin> WebOrigin::fromIdentifier(std::string_view identifier) {
    std::size_t first = identifier.find('_');
    std::size_t last = identifier.rfind('_');
    if (first == std::string_view::npos || first == last) return std::nullopt;
    std::optional<int> port = portNumber(identifier.substr(last + 1));
    if (!port) return std::nullopt;
    std::string host(identifier.substr(first + 1, last - first - 1));
    // The browser writes the ":" of an IPv6 host as "_" ("[::1]" as "[__1]").
    if (host.starts_with('[') && host.ends_with(']')) std::replace(host.begin(), host.end(), '_', ':');
    return make(identifier.substr(0, first), host, *port);
}

}  // namespace tasselby
