// Web origins of the Linux layout, from URLs and storage keys and from
// folder identifiers. An origin read is http or https with a plain host
// (no separator of a path, partition or user, no upper case from a URL) and
// a port that is not the scheme's default; only a bracketed (IPv6) host
// holds ":". Its text reads back as itself, also as a storage key with any
// partition data after "/^", and the folder identifier the browser would
// give it names the same origin.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "fuzz_input.h"
#include "linux/web_origin.h"

namespace {

using tasselby::WebOrigin;

bool same(const std::optional<WebOrigin>& a, const WebOrigin& b) {
    return a && a->scheme == b.scheme && a->host == b.host && a->port == b.port;
}

void checkValid(const WebOrigin& origin) {
    if (origin.scheme != "http" && origin.scheme != "https") std::abort();
    const std::string_view notInHost("/\\ ^@\0", 6);
    if (origin.host.empty() || origin.host.find_first_of(notInHost) != std::string::npos) std::abort();
    bool bracketed = origin.host.starts_with('[') && origin.host.ends_with(']');
    if (!bracketed && origin.host.find_first_of("[]:") != std::string::npos) std::abort();
    if (origin.port < 0 || origin.port > 65535 || origin.port == (origin.scheme == "http" ? 80 : 443)) std::abort();
}

// The folder identifier the browser gives an origin: an IPv6 host's ":" as "_".
std::string identifier(const WebOrigin& origin) {
    std::string host = origin.host;
    if (host.starts_with('[')) std::replace(host.begin(), host.end(), ':', '_');
    return origin.scheme + "_" + host + "_" + std::to_string(origin.port);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text = tasselby::fuzz::text(data, size);
    if (std::optional<WebOrigin> origin = WebOrigin::fromUrl(text)) {
        checkValid(*origin);
        for (char c : origin->host) {
            if (c >= 'A' && c <= 'Z') std::abort();
        }
        if (!same(WebOrigin::fromUrl(origin->text()), *origin)) std::abort();
        if (!same(WebOrigin::fromUrl(origin->text() + "/^" + std::string(text)), *origin)) std::abort();
        // No IPv6 address holds "_", so "_" in brackets cannot come back.
        bool ipv6WithUnderscore = origin->host.starts_with('[') && origin->host.find('_') != std::string::npos;
        if (!ipv6WithUnderscore && !same(WebOrigin::fromIdentifier(identifier(*origin)), *origin)) std::abort();
    }
    if (std::optional<WebOrigin> origin = WebOrigin::fromIdentifier(text)) {
        checkValid(*origin);
        if (!same(WebOrigin::fromIdentifier(identifier(*origin)), *origin)) std::abort();
    }
    return 0;
}
