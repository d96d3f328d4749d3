#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/sample_data.h"

namespace tasselby::testing {
namespace {

// The session's own folders at the top of a home (the bus and its services
// write there).
const std::vector<std::string> kSessionFolders = {".cache", ".config", ".local"};

nlohmann::json parseReport(const WorkerResult& result) {
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    return nlohmann::json::parse(result.standardOutput);
}

constexpr const char* kCountKeys[] = {"cookies", "trackingCookies", "databases", "flash", "silverlight"};

class DryRun : public ::testing::TestWithParam<const char*> {};

// The sample home holds data of every browser; with secure deletion on, the
// dry run also walks the overwrite path.
TEST_P(DryRun, LeavesTheHomeByteIdenticalAndCountsAsTheRealRunThatFollows) {
    WorkerRun run;
    std::string systemRoot = run.workingFolder() + "/system";
    buildSampleHome(run.home(), systemRoot);
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kSecureDeleteData, true}});
    const std::vector<std::string> options = {"--system-root=" + systemRoot, "--report=json", GetParam()};
    auto home = snapshot(run.homePath(), kSessionFolders);
    auto system = snapshot(systemRoot);

    std::vector<std::string> dryOptions = options;
    dryOptions.insert(dryOptions.begin(), "--dry-run");
    WorkerResult dry = run.run(dryOptions);
    nlohmann::json preview = parseReport(dry);
    EXPECT_TRUE(dry.notifications.empty()) << "a dry run posts nothing";
    EXPECT_TRUE(snapshot(run.homePath(), kSessionFolders) == home) << "the home changed";
    EXPECT_TRUE(snapshot(systemRoot) == system) << "the system root changed";

    WorkerResult real = run.run(options);
    nlohmann::json done = parseReport(real);
    EXPECT_TRUE(preview["dryRun"]);
    EXPECT_FALSE(done["dryRun"]);
    for (const char* key : kCountKeys) EXPECT_EQ(preview[key], done[key]) << key;
    EXPECT_GT(done["cookies"].get<long>(), 0);
    ASSERT_EQ(preview["stores"].size(), done["stores"].size());
    for (std::size_t i = 0; i < done["stores"].size(); ++i) {
        const nlohmann::json& would = preview["stores"][i];
        const nlohmann::json& did = done["stores"][i];
        EXPECT_EQ(would["path"], did["path"]);
        EXPECT_EQ(would["items"], did["items"]) << did["path"];
        EXPECT_EQ(would["action"], "would remove");
        EXPECT_EQ(did["action"], "removed");
    }
    // The JSON report and the notification tell the same story.
    ASSERT_EQ(real.notifications.size(), 1u);
    EXPECT_EQ(done["report"], real.notifications.front().body);
    EXPECT_EQ(real.notifications.front().body,
              std::to_string(done["cookies"].get<long>()) + " Cookies (" +
                  std::to_string(done["trackingCookies"].get<long>()) + " Tracking Cookies), " +
                  std::to_string(done["databases"].get<long>()) + " Databases, " +
                  std::to_string(done["flash"].get<long>()) + " Flash, " +
                  std::to_string(done["silverlight"].get<long>()) + " Silverlight, and Cache removed from " +
                  GetParam());
    EXPECT_FALSE(snapshot(run.homePath(), kSessionFolders) == home) << "the real run removed something";
}

INSTANTIATE_TEST_SUITE_P(EveryBrowser, DryRun,
                         ::testing::Values(kSafari, kGoogleChrome, kFirefox),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::erase(name, ' ');
                             return name;
                         });

// The preferences command and the worker agree on where the suite lives.
TEST(DefaultsCommand, WritingDisplayNotificationsMakesTheNextRunPostAndReadShowsIt) {
    WorkerRun run;
    EXPECT_TRUE(run.run({kSafari}).notifications.empty());

    WorkerResult written = run.runProgram({TASSELBY_DEFAULTS, "write", kDisplayNotifications, "true"});
    EXPECT_EQ(written.exitStatus, 0) << written.standardError;
    EXPECT_EQ(run.run({kSafari}).notifications.size(), 1u);
    WorkerResult read = run.runProgram({TASSELBY_DEFAULTS, "read", kDisplayNotifications});
    EXPECT_EQ(read.standardOutput, "1\n");
}

}  // namespace
}  // namespace tasselby::testing
