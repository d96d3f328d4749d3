#include "app/worker_app_delegate.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

class WorkerAppDelegateTest : public testing::DelegateTest {
protected:

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
    platform.setBool("displayNotifications", true);
    launch({"worker", "safari", "Chrome", "Safari ", "--home=Safari"});
    EXPECT_EQ(platform.terminations, 1);
    EXPECT_TRUE(platform.center.scheduled.empty());
    EXPECT_TRUE(platform.keychainQueries.empty()) << "no keep list is built";
}

// The report goes into the subtitle, through the localized format when there is one.
TEST_F(WorkerAppDelegateTest, RunPostsTheReportAsSubtitleUnderTheTitle) {
    platform.setBool("displayNotifications", true);
    platform.localizations["%@ Cookies (%@ Tracking Cookies), %@ Databases, %@ Flash, %@ Silverlight, and Cache "
                           "removed from %@"] = "%@/%@/%@/%@/%@ @ %@";
    launch({"worker", "WebKit"});
    ASSERT_EQ(platform.suitesAdded, std::vector<std::string>{"com.marrowgatestudios.Tasselby"});
    ASSERT_EQ(platform.center.scheduled.size(), 1u);
    const UserNotification& posted = platform.center.scheduled.front();
    EXPECT_EQ(posted.title, "Tasselby");
    EXPECT_EQ(posted.subtitle, "0/0/0/0/0 @ WebKit");
    EXPECT_EQ(posted.informativeText, "");
    EXPECT_FALSE(posted.hasActionButton);
    EXPECT_FALSE(posted.soundName.has_value());
    EXPECT_EQ(platform.terminations, 1);
}

// The notification tests the preference again, so a direct call respects it.
TEST_F(WorkerAppDelegateTest, NothingIsPostedWithoutThePreference) {
    platform.setBool("displayNotifications", false);
    delegate.displayNotificationWithTitle("Tasselby", "direct call");
    EXPECT_TRUE(platform.center.scheduled.empty());
}

TEST_F(WorkerAppDelegateTest, VersionGateAt744) {
    platform.setBool("displayNotifications", true);
    for (double below : {std::numeric_limits<double>::quiet_NaN(), 743.9}) {
        platform.versionNumber = below;
        delegate.awakeFromNib();
        delegate.displayNotificationWithTitle("Tasselby", "text");
        EXPECT_EQ(platform.center.delegate(), nullptr) << below;
        EXPECT_TRUE(platform.center.scheduled.empty()) << below;
    }
    platform.versionNumber = 744.0;
    delegate.awakeFromNib();
    delegate.displayNotificationWithTitle("Tasselby", "text");
    EXPECT_EQ(platform.center.delegate(), &delegate);
    EXPECT_EQ(platform.center.scheduled.size(), 1u);
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
