#include <gtest/gtest.h>

#include <functional>

#include "base/names.h"
#include "integration/worker_run.h"
#include "platform/linux_platform.h"

namespace tasselby::testing {
namespace {

constexpr const char* kSafariReport =
    "0 Cookies (0 Tracking Cookies), 0 Databases, 0 Flash, 0 Silverlight, and Cache removed from Safari";

// A home with browser data that a cleaning run would have reason to touch.
void writeBrowserData(const SampleHome& home) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    home.writeFile(std::string(kChromeRoot) + "/Default/Cookies", "not really a database");
    home.writeFile("Library/Caches/com.apple.Safari/Cache.db", "cache");
    home.writeFile("Library/Safari/LocalStorage/http_example.com_0.localstorage", "storage");
}

// How "displayNotifications" reaches the worker: the values and the order of
// the domains are the preference reader's own tests; these runs show a value
// in XML and a worker domain's answer deciding whether the report is posted.
struct PreferenceCase {
    const char* name;
    std::function<void(const SampleHome&)> write;
    bool posts;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const PreferenceCase& preference, std::ostream* out) { *out << preference.name; }

class NotificationPreference : public ::testing::TestWithParam<PreferenceCase> {};

TEST_P(NotificationPreference, DecidesWhetherTheReportIsPosted) {
    WorkerRun run;
    GetParam().write(run.home());
    WorkerResult result = run.run({kSafari});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    if (GetParam().posts) {
        ASSERT_EQ(result.notifications.size(), 1u);
        const PostedNotification& posted = result.notifications.front();
        EXPECT_EQ(posted.summary, "Tasselby");
        EXPECT_EQ(posted.body, kSafariReport);
        EXPECT_EQ(posted.appName, "Tasselby");
        EXPECT_TRUE(posted.actions.empty());
    } else {
        EXPECT_TRUE(result.notifications.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    RunCycle, NotificationPreference,
    ::testing::Values(
        PreferenceCase{"XmlPropertyList",
                       [](const SampleHome& home) {
                           home.writePreferences(kSuiteName, {{kDisplayNotifications, PreferenceValue::boolean(true)}},
                                                 PlistFormat::Xml);
                       },
                       true},
        PreferenceCase{"WorkerDomainNoBeforeSuiteYes",
                       [](const SampleHome& home) {
                           home.writeSuitePreferences({{kDisplayNotifications, true}});
                           home.writePreferences(kWorkerDomain,
                                                 {{kDisplayNotifications, PreferenceValue::boolean(false)}});
                       },
                       false}),
    [](const ::testing::TestParamInfo<PreferenceCase>& preference) { return std::string(preference.param.name); });

// Arguments with which the worker must exit at once, clean nothing and post
// nothing, although notifications are on and there is data to clean (which
// names count as a browser is the delegate's own test); help and version
// print on standard output.
class NoRun : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(NoRun, ExitsWithoutCleaningOrPosting) {
    WorkerRun run;
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kRemoveAll, true}});
    writeBrowserData(run.home());
    auto before = snapshot(run.home().path("Library"));
    WorkerResult result = run.run(GetParam());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    bool information = !GetParam().empty() && GetParam().front().starts_with("--");
    EXPECT_EQ(result.standardOutput.find("tasselby-worker") != std::string::npos, information) << result.standardOutput;
    EXPECT_TRUE(result.notifications.empty());
    EXPECT_EQ(snapshot(run.home().path("Library")), before);
}

INSTANTIATE_TEST_SUITE_P(RunCycle, NoRun,
                         ::testing::Values(std::vector<std::string>{},
                                           std::vector<std::string>{"--help", kGoogleChrome, kSafari},
                                           std::vector<std::string>{"--version", kGoogleChrome, kSafari}));

// Profile keys that are no folder names would lead every per-profile cleaner
// to the browser's folders themselves or above them. With everything to be
// removed and overwritten, a sentinel tree around those folders stays whole.
TEST(RunCycle, HostileProfileKeysLeaveEverythingAroundTheBrowsersFolders) {
    WorkerRun run;
    const SampleHome& home = run.home();
    home.writeSuitePreferences({{kRemoveAll, true}, {kSecureDeleteData, true}});
    home.writeLocalState(kChromeRoot, {{"..", "Up"}, {"../../../..", "Home"}, {"/", "Root"}, {"", "Empty"},
                                       {"Default/../../..", "Escape"}, {".", "Here"}});
    std::vector<std::string> sentinels{"sentinel"};
    for (const char* folder : {"Library", "Library/Caches", "Library/Caches/Google", "Library/Caches/Google/Chrome",
                               "Library/Application Support", "Library/Application Support/Google", kChromeRoot}) {
        for (const char* item : {"/sentinel", "/Application Cache/sentinel", "/GPUCache/sentinel",
                                 "/Local Storage/http_example.org_0.localstorage", "/databases/Databases.db"}) {
            sentinels.push_back(folder + std::string(item));
        }
    }
    for (const std::string& sentinel : sentinels) home.writeFile(sentinel, "sentinel");
    WorkerResult result = run.run({kGoogleChrome});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    for (const std::string& sentinel : sentinels) EXPECT_EQ(home.read(sentinel), "sentinel") << sentinel;
}

TEST(RunCycle, MissingNotificationServiceIsNoFailure) {
    WorkerRun run;
    run.home().writeSuitePreferences({{kDisplayNotifications, true}});
    WorkerResult result = run.withoutNotificationService().monitorBus().run({kSafari});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "");
    // The worker did try, and the bus refused at once instead of starting a service.
    EXPECT_NE(result.busLog.find("org.freedesktop.DBus.Error.ServiceUnknown"), std::string::npos);
}

}  // namespace
}  // namespace tasselby::testing
