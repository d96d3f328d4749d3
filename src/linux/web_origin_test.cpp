#include "linux/web_origin.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(WebOriginTest, OriginsOfWebAddressesOnly) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> table = {
        {"https://www.Example.com", "https://www.example.com"},
        {"http://alpha.localhost:18765/", "http://alpha.localhost:18765"},
        {"https://alpha.localhost:443/x", "https://alpha.localhost"},
        {"HTTPS://user:pw@host.example.org:8443/path?q=1#f", "https://host.example.org:8443"},
        {"https://host.example.org?q=a/b", "https://host.example.org"},
        {"https://host.example.org\\@evil.example/", "https://host.example.org"},
        {"http://[::1]:8080/", "http://[::1]:8080"},
        {"https://tracker.example^0https://kept.example", "https://tracker.example"},
        {"chrome://FirefoxAccounts", std::nullopt},
        {"moz-extension://0b8c9a2e/", std::nullopt},
        {"android://hash@com.example.app/", std::nullopt},
        {"ftp://example.com/", std::nullopt},
        {"example.com", std::nullopt},
        {"https://", std::nullopt},
        {"https://:443/", std::nullopt},
        {"https://a.example:99999/", std::nullopt},
        {"http://[::1/", std::nullopt},
    };
    for (const auto& [url, origin] : table) {
        std::optional<WebOrigin> parsed = WebOrigin::fromUrl(url);
        EXPECT_EQ(parsed ? std::optional<std::string>(parsed->text()) : std::nullopt, origin) << url;
    }
}

TEST(WebOriginTest, ChromiumFolderIdentifiers) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> table = {
        {"http_alpha.localhost_18765", "http://alpha.localhost:18765"},
        {"https_example.com_0", "https://example.com"},
        {"chrome-extension_abcdef_0", std::nullopt},
        {"https_example.com", std::nullopt},
        {"https_example.com_x", std::nullopt},
    };
    for (const auto& [identifier, origin] : table) {
        std::optional<WebOrigin> parsed = WebOrigin::fromIdentifier(identifier);
        EXPECT_EQ(parsed ? std::optional<std::string>(parsed->text()) : std::nullopt, origin) << identifier;
    }
}

}  // namespace
}  // namespace tasselby
