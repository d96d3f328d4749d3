#include "linux/web_origin.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(WebOrigin, FromUrlsAndStorageKeys) {
    struct Case {
        std::string text;
        std::optional<std::string> origin;
    };
    const Case cases[] = {
        {"http://alpha.localhost:18765", "http://alpha.localhost:18765"},
        {"http://alpha.localhost:18765/", "http://alpha.localhost:18765"},
        {"https://example.com:443/path?q#f", "https://example.com"},
        {"http://example.com:80", "http://example.com"},
        {"https://embedded.example^0https://top.example", "https://embedded.example"},
        {"https://a.example/^31234^41", "https://a.example"},
        {"http://[::1]:8080/", "http://[::1]:8080"},
        {"chrome-extension://abcdef/", std::nullopt},
        {"file:///home/user", std::nullopt},
        {"http://", std::nullopt},
        {"http://host:99999/", std::nullopt},
        {"http://host:x/", std::nullopt},
        {"http://us@er@host/", "http://host"},  // user information ends at the last "@"
        {"HTTPS://User:pw@Mail.Example.org:8443/", "https://mail.example.org:8443"},
        {"https://host.example.org\\@evil.example/", "https://host.example.org"},
        {"http://[::1/", std::nullopt},
        {"http://a:b:80/", std::nullopt},  // a ":" outside brackets is no host
        {"http://a]:80/", std::nullopt},
        {"example.com", std::nullopt},
        {"^http://a.example", std::nullopt},
    };
    for (const Case& each : cases) {
        std::optional<WebOrigin> origin = WebOrigin::fromUrl(each.text);
        EXPECT_EQ(origin ? std::optional(origin->text()) : std::nullopt, each.origin) << each.text;
    }
}

TEST(WebOrigin, FromFolderIdentifiers) {
    struct Case {
        std::string identifier;
        std::optional<std::string> origin;
    };
    const Case cases[] = {
        {"http_alpha.localhost_18765", "http://alpha.localhost:18765"},
        {"https_example.com_0", "https://example.com"},
        {"https_under_score.example_443", "https://under_score.example"},
        {"http_[__1]_8080", "http://[::1]:8080"},
        {"http_a:b_0", std::nullopt},
        {"chrome-extension_abcdef_0", std::nullopt},
        {"file__0", std::nullopt},
        {"http_example.com", std::nullopt},
        {"http_example.com_", std::nullopt},
        {"http__80", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& each : cases) {
        std::optional<WebOrigin> origin = WebOrigin::fromIdentifier(each.identifier);
        EXPECT_EQ(origin ? std::optional(origin->text()) : std::nullopt, each.origin) << each.identifier;
    }
}

}  // namespace
}  // namespace tasselby
