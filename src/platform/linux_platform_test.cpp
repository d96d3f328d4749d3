#include "platform/linux_platform.h"

#include <gtest/gtest.h>

#include <utility>

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

}  // namespace
}  // namespace tasselby
