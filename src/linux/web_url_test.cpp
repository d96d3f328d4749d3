#include "linux/web_url.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(WebUrlTest, HostsOfWebAddressesOnly) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> table = {
        {"https://www.Example.com", "www.example.com"},
        {"http://alpha.localhost:18765/", "alpha.localhost"},
        {"HTTPS://user:pw@host.example.org:8443/path?q=1#f", "host.example.org"},
        {"https://host.example.org?q=a/b", "host.example.org"},
        {"https://host.example.org\\@evil.example/", "host.example.org"},
        {"http://[::1]:8080/", "[::1]"},
        {"chrome://FirefoxAccounts", std::nullopt},
        {"moz-extension://0b8c9a2e/", std::nullopt},
        {"android://hash@com.example.app/", std::nullopt},
        {"ftp://example.com/", std::nullopt},
        {"example.com", std::nullopt},
        {"https://", std::nullopt},
        {"https://:443/", std::nullopt},
        {"http://[::1/", std::nullopt},
    };
    for (const auto& [url, host] : table) EXPECT_EQ(WebUrl::webHost(url), host) << url;
}

}  // namespace
}  // namespace tasselby
