#include "linux/linux_run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "base/names.h"
#include "linux/running_browser.h"
#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

class LinuxRunTest : public ::testing::Test {
protected:
    LinuxRunStatus run(std::vector<std::string> arguments) {
        platform.args = std::move(arguments);
        LinuxRun linuxRun(platform, LinuxRoots::inHome(folder.path()), errors);
        LinuxRunStatus status = linuxRun.run();
        report = linuxRun.report();
        return status;
    }

    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    FakePlatform platform{folder.path()};
    std::ostringstream errors;
    RunReport report;
};

TEST_F(LinuxRunTest, BrowsersOfTheMacOSLayoutAreRefusedAndNothingIsDone) {
    home.makeFolder(".config/chromium/Default/Session Storage");
    for (const char* browser : {kSafari, kWebKit, kCamino}) {
        EXPECT_EQ(run({"worker", browser, kChromium}), LinuxRunStatus::UnknownBrowser) << browser;
    }
    EXPECT_NE(errors.str().find("\"Safari\""), std::string::npos);
    EXPECT_EQ(run({"worker", "--layout=linux"}), LinuxRunStatus::NoBrowser);
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_TRUE(home.exists(".config/chromium/Default/Session Storage"));
}

TEST_F(LinuxRunTest, RunningInstallIsSkippedOthersAreCleaned) {
    home.makeFolder(".config/chromium/Default/Session Storage");
    home.makeFolder("snap/chromium/common/chromium/Default/Session Storage");
    std::filesystem::create_symlink(RunningBrowser::hostName() + "-" + std::to_string(getpid()),
                                    home.path(".config/chromium/SingletonLock"));
    platform.setBool(kDisplayNotifications, true);
    EXPECT_EQ(run({"worker", kChromium}), LinuxRunStatus::TryAgainLater);
    EXPECT_TRUE(home.exists(".config/chromium/Default/Session Storage"));
    EXPECT_FALSE(home.exists("snap/chromium/common/chromium/Default/Session Storage"));
    EXPECT_EQ(errors.str(), "tasselby-worker: skipped Install .config/chromium: running browser\n");
    ASSERT_FALSE(report.empty());
    EXPECT_EQ(report.front().action, "skipped");
    ASSERT_EQ(platform.center.scheduled.size(), 1u);
    EXPECT_EQ(platform.center.scheduled[0].subtitle,
              "0 Cookies (0 Tracking Cookies), 0 Databases, 0 Flash, 0 Silverlight, and Cache removed from Chromium");
}

}  // namespace
}  // namespace tasselby
