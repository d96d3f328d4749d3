#include "linux/web_url.h"

#include <algorithm>
#include <cctype>

namespace tasselby {

namespace {

constexpr std::string_view kSchemeSeparator = "://";
constexpr std::string_view kWebSchemes[] = {"http", "https"};

std::string lowercased(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

}  // namespace

std::optional<std::string> WebUrl::webHost(std::string_view url) {
    std::size_t separator = url.find(kSchemeSeparator);
    if (separator == std::string_view::npos) return std::nullopt;
    std::string scheme = lowercased(url.substr(0, separator));
    if (std::find(std::begin(kWebSchemes), std::end(kWebSchemes), scheme) == std::end(kWebSchemes)) {
        return std::nullopt;
    }
    std::string_view authority = url.substr(separator + kSchemeSeparator.size());
    // A backslash ends the authority as "/" does: browsers read it so in web addresses.
    authority = authority.substr(0, std::min(authority.find_first_of("/?#\\"), authority.size()));
    std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) authority.remove_prefix(at + 1);

    std::string_view host;
    if (authority.starts_with('[')) {
        std::size_t close = authority.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        host = authority.substr(0, close + 1);
    } else {
        host = authority.substr(0, std::min(authority.find(':'), authority.size()));
    }
    if (host.empty() || host == "[]") return std::nullopt;
    return lowercased(host);
}

}  // namespace tasselby
