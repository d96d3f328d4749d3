#include "linux/running_browser.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

TEST(RunningBrowser, SingletonLockTargets) {
    struct Case {
        std::string target;
        std::optional<std::string> host;
        long pid;
    };
    const Case cases[] = {
        {"workstation-4242", "workstation", 4242},
        {"my-laptop.local-17", "my-laptop.local", 17},
        {"host-", std::nullopt, 0},
        {"-12", std::nullopt, 0},
        {"host-12x", std::nullopt, 0},
        {"host-0", std::nullopt, 0},
        {"host-+5", std::nullopt, 0},
        {"nodash", std::nullopt, 0},
        {"host-99999999999999999999999", std::nullopt, 0},
    };
    for (const Case& each : cases) {
        std::optional<RunningBrowser::LockOwner> owner = RunningBrowser::parseSingletonLock(each.target);
        ASSERT_EQ(owner.has_value(), each.host.has_value()) << each.target;
        if (!owner) continue;
        EXPECT_EQ(owner->host, *each.host);
        EXPECT_EQ(owner->pid, each.pid);
    }
}

// A process that has ended and been reaped: its id names nobody.
long deadProcessId() {
    pid_t child = fork();
    if (child == 0) _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    return child;
}

TEST(RunningBrowser, OnlyALiveProcessOfThisHostHoldsTheInstall) {
    testing::TemporaryFolder userData;
    const std::string lock = userData / "SingletonLock";
    const std::string host = RunningBrowser::hostName();
    ASSERT_FALSE(host.empty());
    struct Case {
        std::string target;
        bool running;
    };
    const Case cases[] = {
        {host + "-" + std::to_string(getpid()), true},
        {host + "-" + std::to_string(deadProcessId()), false},
        {"another-" + host + "-" + std::to_string(getpid()), false},
        {"garbage", false},
    };
    for (const Case& each : cases) {
        std::filesystem::remove(lock);
        std::filesystem::create_symlink(each.target, lock);
        EXPECT_EQ(RunningBrowser::chromiumInstallRunning(userData.path()), each.running) << each.target;
    }
    std::filesystem::remove(lock);
    testing::SampleHome(userData.path()).writeFile("SingletonLock", host + "-" + std::to_string(getpid()));
    EXPECT_FALSE(RunningBrowser::chromiumInstallRunning(userData.path())) << "a plain file is no lock";
}

TEST(RunningBrowser, AFirefoxProfileIsHeldByItsParentLockOrALiveLockLink) {
    testing::TemporaryFolder profile;
    FakePlatform platform(profile.path());
    const std::string link = profile / "lock";
    struct Case {
        std::string target;
        bool running;
    };
    const Case cases[] = {
        {"127.0.0.1:+" + std::to_string(getpid()), true},
        {"127.0.1.1:+" + std::to_string(getpid()), true},
        {"127.0.0.1:+" + std::to_string(deadProcessId()), false},
        {"203.0.113.7:+" + std::to_string(getpid()), false},  // a documentation address: never this machine's
        {"127.0.0.1:-" + std::to_string(getpid()), false},
        {"localhost:+" + std::to_string(getpid()), false},
    };
    for (const Case& each : cases) {
        std::filesystem::remove(link);
        std::filesystem::create_symlink(each.target, link);
        EXPECT_EQ(RunningBrowser::firefoxProfileRunning(platform, profile.path()), each.running) << each.target;
    }
    std::filesystem::remove(link);
    EXPECT_FALSE(RunningBrowser::firefoxProfileRunning(platform, profile.path()));
    platform.lockedFiles.insert(profile / ".parentlock");
    EXPECT_TRUE(RunningBrowser::firefoxProfileRunning(platform, profile.path()));
}

}  // namespace
}  // namespace tasselby
