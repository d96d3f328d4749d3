#include "linux/firefox_profile_lock.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(FirefoxLockLinkTest, ReadsAddressAndProcess) {
    const std::vector<std::pair<std::string, std::optional<FirefoxLockLink>>> table = {
        {"127.0.0.1:+4242", FirefoxLockLink{"127.0.0.1", 4242}},
        {"192.168.1.20:+1", FirefoxLockLink{"192.168.1.20", 1}},
        {"127.0.0.1:-4242", std::nullopt},
        {"127.0.0.1:4242", std::nullopt},
        {"127.0.0.1:+", std::nullopt},
        {"127.0.0.1:+0", std::nullopt},
        {"127.0.0.1:+42x", std::nullopt},
        {"127.0.0.1:+99999999999999999999", std::nullopt},
        {":+4242", std::nullopt},
        {"host-4242", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [target, expected] : table) EXPECT_EQ(FirefoxLockLink::parse(target), expected) << target;
}

}  // namespace
}  // namespace tasselby
