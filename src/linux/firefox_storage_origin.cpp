#include "linux/firefox_storage_origin.h"

#include <algorithm>

namespace tasselby {

namespace {

constexpr std::string_view kReplacedCharacters = "/:*?\"<>|\\";
constexpr char kReplacement = '+';
constexpr char kAttributesMarker = '^';
// Once written, "://" reads "+++".
constexpr std::string_view kSchemes[] = {"http", "https"};
constexpr std::string_view kSchemeEnd = "+++";

bool isDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::string FirefoxStorageOrigin::origin() const {
    std::string text = scheme + "://" + host;
    if (!port.empty()) text += ":" + port;
    return text;
}

std::optional<FirefoxStorageOrigin> FirefoxStorageOrigin::fromFolderName(std::string_view name) {
    FirefoxStorageOrigin result;
    std::size_t marker = name.find(kAttributesMarker);
    if (marker != std::string_view::npos) {
        result.attributes = std::string(name.substr(marker));
        name = name.substr(0, marker);
    }

    std::size_t schemeEnd = name.find(kSchemeEnd);
    if (schemeEnd == std::string_view::npos) return std::nullopt;
    std::string_view scheme = name.substr(0, schemeEnd);
    if (std::find(std::begin(kSchemes), std::end(kSchemes), scheme) == std::end(kSchemes)) return std::nullopt;
    result.scheme = std::string(scheme);
    std::string_view rest = name.substr(schemeEnd + kSchemeEnd.size());

    // An IPv6 host is bracketed, its colons written as "+" like any other.
    std::size_t hostEnd = 0;
    if (rest.starts_with('[')) {
        std::size_t close = rest.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        hostEnd = close + 1;
        std::string host(rest.substr(0, hostEnd));
        std::replace(host.begin(), host.end(), kReplacement, ':');
        result.host = host;
    } else {
        hostEnd = std::min(rest.find(kReplacement), rest.size());
        result.host = std::string(rest.substr(0, hostEnd));
    }
    if (result.host.empty() || result.host == "[]") return std::nullopt;

    std::string_view tail = rest.substr(hostEnd);
    if (!tail.empty()) {
        // Only a port may follow the host; anything else is not a web origin
        // of the form we know.
        if (tail.front() != kReplacement || !isDigits(tail.substr(1))) return std::nullopt;
        result.port = std::string(tail.substr(1));
    }
    return result;
}

std::string FirefoxStorageOrigin::folderName(std::string_view originWithAttributes) {
    std::string name(originWithAttributes);
    for (char& c : name) {
        if (kReplacedCharacters.find(c) != std::string_view::npos) c = kReplacement;
    }
    return name;
}

}  // namespace tasselby
