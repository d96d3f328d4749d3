#include "cleaners/webstorage/mozilla_scope.h"

#include "platform/posix_files.h"

namespace tasselby {

namespace {

constexpr std::string_view kScopeSeparator = ".:";
constexpr std::string_view kWwwPrefix = "www.";
constexpr std::string_view kAddressMarker = "//";

// Length of the well-formed UTF-8 sequence starting at text[at]; 1 for a byte
// that starts none.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
    auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = lead < 0x80 ? 1 : (lead & 0xE0) == 0xC0 ? 2 : (lead & 0xF0) == 0xE0 ? 3 : (lead & 0xF8) == 0xF0 ? 4 : 1;
    if (length == 1 || at + length > text.size()) return 1;
    for (std::size_t i = at + 1; i < at + length; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 1;
    }
    return length;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string MozillaScope::reversed(std::string_view text) {
    std::string out(text.size(), '\0');
    std::size_t end = text.size();
    for (std::size_t at = 0; at < text.size();) {
        std::size_t length = sequenceLength(text, at);
        end -= length;
        out.replace(end, length, text.substr(at, length));
        at += length;
    }
    return out;
}

std::optional<std::string> MozillaScope::decodedFormText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '+') {
            out.push_back(' ');
        } else if (c != '%') {
            out.push_back(c);
        } else {
            int high = i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
            int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
            if (high < 0 || low < 0) return std::nullopt;
            out.push_back(static_cast<char>(high * 16 + low));
            i += 2;
        }
    }
    if (!isValidUtf8(out)) return std::nullopt;
    return out;
}

std::optional<std::string> MozillaScope::workingName(std::string_view scope) {
    std::size_t separator = scope.find(kScopeSeparator);
    if (separator == std::string_view::npos) return std::nullopt;

    std::string name = reversed(scope.substr(0, separator));
    if (name.starts_with(kWwwPrefix)) name.erase(0, kWwwPrefix.size());

    // A scope made from a full address ("x//www.example.com/p" once reversed)
    // stands for the address's host, but only when that host is written with
    // "www."; any other address is judged as the whole text.
    std::size_t marker = name.find(kAddressMarker);
    if (marker == std::string::npos) return name;
    std::optional<std::string> decoded = decodedFormText(std::string_view(name).substr(marker + kAddressMarker.size()));
    if (!decoded) return name;
    std::string host = decoded->substr(0, decoded->find('/'));
    if (host.starts_with(kWwwPrefix)) return host.substr(kWwwPrefix.size());
    return name;
}

}  // namespace tasselby
