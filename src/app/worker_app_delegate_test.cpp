#include "app/worker_app_delegate.h"

#include <gtest/gtest.h>

#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

class WorkerAppDelegateTest : public ::testing::Test {
protected:
    testing::TemporaryFolder home;
    FakePlatform platform{home.path()};
    WorkerAppDelegate delegate{platform};

    // Runs the whole launch; termination ends it as it ends the process.
    void launch(std::vector<std::string> args) {
        platform.args = std::move(args);
        delegate.awakeFromNib();
        EXPECT_THROW(delegate.applicationDidFinishLaunching(), FakePlatform::Terminated);
    }
};

TEST_F(WorkerAppDelegateTest, FirstArgumentNamingABrowserWins) {
    platform.args = {"/usr/bin/tasselby-worker", "-x", "Firefox", "Safari"};
    EXPECT_EQ(delegate.startupCheck(), "Firefox");
    platform.args = {"Opera", "Safari"};  // argument 0 counts like any other
    EXPECT_EQ(delegate.startupCheck(), "Opera");
    EXPECT_EQ(platform.terminations, 0);
}

TEST_F(WorkerAppDelegateTest, NoExactBrowserNameTerminatesWithoutCleaning) {
    for (auto args : std::vector<std::vector<std::string>>{
             {"worker"}, {"worker", "safari"}, {"worker", "Chrome"}, {"worker", "Safari "}, {"worker", "--home=Safari"}}) {
        FakePlatform quiet(home.path());
        quiet.args = args;
        quiet.setBool("displayNotifications", true);
        WorkerAppDelegate worker(quiet);
        worker.awakeFromNib();
        EXPECT_THROW(worker.applicationDidFinishLaunching(), FakePlatform::Terminated);
        EXPECT_EQ(quiet.terminations, 1);
        EXPECT_TRUE(quiet.center.scheduled.empty());
        EXPECT_TRUE(quiet.keychainQueries.empty()) << "no keep list is built";
    }
}

TEST_F(WorkerAppDelegateTest, RunPostsTheReportAsSubtitleUnderTheTitle) {
    platform.setBool("displayNotifications", true);
    launch({"worker", "Safari"});
    ASSERT_EQ(platform.suitesAdded, std::vector<std::string>{"com.marrowgatestudios.Tasselby"});
    ASSERT_EQ(platform.center.scheduled.size(), 1u);
    const UserNotification& posted = platform.center.scheduled.front();
    EXPECT_EQ(posted.title, "Tasselby");
    EXPECT_EQ(posted.subtitle,
              "0 Cookies (0 Tracking Cookies), 0 Databases, 0 Flash, 0 Silverlight, and Cache removed from Safari");
    EXPECT_EQ(posted.informativeText, "");
    EXPECT_FALSE(posted.hasActionButton);
    EXPECT_FALSE(posted.soundName.has_value());
    EXPECT_EQ(platform.terminations, 1);
}

TEST_F(WorkerAppDelegateTest, LocalizedFormatIsUsedWhenPresent) {
    platform.setBool("displayNotifications", true);
    platform.localizations["%@ Cookies (%@ Tracking Cookies), %@ Databases, %@ Flash, %@ Silverlight, and Cache "
                           "removed from %@"] = "%@/%@/%@/%@/%@ @ %@";
    launch({"worker", "WebKit"});
    ASSERT_EQ(platform.center.scheduled.size(), 1u);
    EXPECT_EQ(platform.center.scheduled.front().subtitle, "0/0/0/0/0 @ WebKit");
}

TEST_F(WorkerAppDelegateTest, NothingIsPostedWithoutThePreference) {
    launch({"worker", "Safari"});
    EXPECT_TRUE(platform.center.scheduled.empty());
    platform.setBool("displayNotifications", true);
    platform.setBool("displayNotifications", false);
    delegate.displayNotificationWithTitle("Tasselby", "direct call");
    EXPECT_TRUE(platform.center.scheduled.empty());
}

TEST_F(WorkerAppDelegateTest, VersionGateAt744) {
    platform.setBool("displayNotifications", true);
    platform.versionNumber = 743.9;
    delegate.awakeFromNib();
    EXPECT_EQ(platform.center.delegate(), nullptr);
    delegate.displayNotificationWithTitle("Tasselby", "text");
    EXPECT_TRUE(platform.center.scheduled.empty());

    platform.versionNumber = 744.0;
    delegate.awakeFromNib();
    EXPECT_EQ(platform.center.delegate(), &delegate);
    delegate.displayNotificationWithTitle("Tasselby", "text");
    EXPECT_EQ(platform.center.scheduled.size(), 1u);

    platform.versionNumber = std::numeric_limits<double>::quiet_NaN();
    FakePlatform other(home.path());
    other.versionNumber = platform.versionNumber;
    WorkerAppDelegate worker(other);
    worker.awakeFromNib();
    EXPECT_EQ(other.center.delegate(), nullptr);
}

TEST_F(WorkerAppDelegateTest, ActivatedNotificationIsRemovedAndAlwaysPresented) {
    platform.setBool("displayNotifications", true);
    delegate.displayNotificationWithTitle("Tasselby", "text");
    const UserNotification& posted = platform.center.scheduled.front();
    EXPECT_TRUE(delegate.shouldPresentNotification(platform.center, posted));
    delegate.didActivateNotification(platform.center, posted);
    EXPECT_EQ(platform.center.removed, std::vector<std::uint32_t>{posted.identifier});
}

TEST_F(WorkerAppDelegateTest, RemoveAllSkipsThePasswordSources) {
    platform.setBool("removeAll", true);
    launch({"worker", "Safari"});
    EXPECT_TRUE(platform.keychainQueries.empty());
}

}  // namespace
}  // namespace tasselby
