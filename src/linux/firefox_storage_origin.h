#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// A web origin as Firefox names its folder below "storage/default": the origin
// text with each of / : * ? " < > | and backslash written as "+", then any
// origin attributes after "^" ("https+++example.com+8443^userContextId=1").
struct FirefoxStorageOrigin {
    std::string scheme;      // "http" or "https"
    std::string host;        // lower case as Firefox writes it; an IPv6 address keeps its brackets
    std::string port;        // digits, or empty for the scheme's default port
    std::string attributes;  // "^..." as written, or empty

    // "scheme://host[:port]", without the attributes.
    std::string origin() const;

    // The origin of a folder name; nothing for a name that is not an http or
    // https origin in that form (extension, file, internal and unknown
    // origins are never judged, so never touched).
    static std::optional<FirefoxStorageOrigin> fromFolderName(std::string_view name);

    // The folder name Firefox gives an origin text (attributes included).
    static std::string folderName(std::string_view originWithAttributes);
};

}  // namespace tasselby
