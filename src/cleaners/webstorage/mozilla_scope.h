#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// Reading the host back out of a Mozilla-family storage scope: the host
// written backwards, then ".:", then scheme and port (moc.elpmaxe.www.:http:80).
class MozillaScope {
public:
    MozillaScope() = delete;

    // The name whose site decides the scope: the part before the first ".:",
    // reversed, without a leading "www.", and narrowed to the host of a
    // "//"-style address when that host begins with "www.". Nothing when the
    // scope holds no ".:" at all.
    static std::optional<std::string> workingName(std::string_view scope);

    // The text with its characters in reverse order. Characters are the
    // well-formed UTF-8 sequences of the text, each moved whole, so a host
    // outside ASCII reverses into valid text again (for ASCII this is plain
    // byte reversal). A byte that starts no well-formed sequence moves alone.
    static std::string reversed(std::string_view text);

    // Form-style decoding: every "+" becomes a space, then "%XX" escapes
    // become their bytes. Nothing when an escape is malformed or the decoded
    // bytes are not valid UTF-8.
    static std::optional<std::string> decodedFormText(std::string_view text);
};

}  // namespace tasselby
