#include "platform/linux_platform.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/lock_holder.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

CommandLine commandLine(std::vector<const char*> arguments) {
    return CommandLine::parse(static_cast<int>(arguments.size()), arguments.data());
}

TEST(LinuxPlatform, SystemPathsLieUnderTheRoot) {
    const std::pair<const char*, const char*> cases[] = {
        {"--system-root=/", "/private/var/folders"},
        {"--system-root=/mnt/mac", "/mnt/mac/private/var/folders"},
        {"--system-root=/mnt/mac//", "/mnt/mac/private/var/folders"},
    };
    for (const auto& [option, expected] : cases) {
        LinuxPlatform platform(commandLine({"worker", option}));
        EXPECT_EQ(platform.systemPath("/private/var/folders"), expected) << option;
    }
}

TEST(LinuxPlatform, HomeOptionWinsOverTheEnvironment) {
    EXPECT_EQ(LinuxPlatform::homeFolder(commandLine({"worker", "--home=/mnt/alice"})), "/mnt/alice");
    EXPECT_FALSE(LinuxPlatform::homeFolder(commandLine({"worker"})).empty());
}

// What tells the Linux layout that Firefox holds a profile.
TEST(LinuxPlatform, SeesAnotherProcesssLock) {
    testing::TemporaryFolder profile;
    const std::string lock = testing::SampleHome(profile.path()).writeFile(".parentlock");
    LinuxPlatform platform(commandLine({"worker"}));
    EXPECT_FALSE(platform.isLockedByOtherProcess(lock));
    testing::LockHolder firefox(lock);
    EXPECT_TRUE(platform.isLockedByOtherProcess(lock));
}

}  // namespace
}  // namespace tasselby
