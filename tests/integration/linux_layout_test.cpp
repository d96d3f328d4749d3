#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "base/names.h"
#include "integration/worker_run.h"
#include "linux/running_browser.h"
#include "support/chromium_stores.h"
#include "support/cookie_stores.h"

namespace tasselby::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLinuxLayout = "--layout=linux";
constexpr const char* kUserData = ".config/chromium";
constexpr const char* kProfile = ".config/chromium/Default";

// The suite's preferences where the Linux layout reads them.
void writeLinuxPreferences(const SampleHome& home, const std::map<std::string, bool>& values) {
    home.writeSuitePreferences(values);
    const std::string file = std::string(kSuiteName) + ".plist";
    home.makeFolder(".config/tasselby");
    fs::rename(home.path("Library/Preferences/" + file), home.path(".config/tasselby/" + file));
    fs::remove_all(home.path("Library"));
}

class LinuxLayoutRun : public ::testing::Test {
protected:
    void SetUp() override {
        run.home().writeLocalState(kUserData, {{"Default", "Person 1"}});
        writeExampleChromiumProfile(run.home().path(kProfile));
        run.home().writeFile(".cache/chromium/Default/Cache/Cache_Data/index", "http cache");
        run.home().writeFile(".macromedia/Flash_Player/#SharedObjects/R1/www.beta.localhost/a.sol", "sol");
        writeLinuxPreferences(run.home(), {{kDisplayNotifications, true}});
    }

    WorkerRun run;
};

// The keyring's delta joins the sites the profile saved: only beta's data
// goes. A dry run first changes nothing and counts what the real run removes.
TEST_F(LinuxLayoutRun, KeyringAndLoginDataKeepTheirSitesEverythingElseGoes) {
    const SampleHome& home = run.home();
    auto stores = [&] {
        return std::vector{snapshot(home.path(kUserData)), snapshot(home.path(".cache/chromium")),
                           snapshot(home.path(".macromedia"))};
    };
    const auto before = stores();
    run.withKeyring({KeychainItem{"delta.localhost", "form", "https", "alice", ""}});
    WorkerResult dry = run.run({kLinuxLayout, "--dry-run", "--report=json", kChromium});
    EXPECT_EQ(dry.exitStatus, 0) << dry.standardError;
    EXPECT_TRUE(stores() == before) << "the dry run changed the profile";
    EXPECT_TRUE(dry.notifications.empty());

    WorkerResult result = run.run({kLinuxLayout, "--report=json", kChromium});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    ASSERT_EQ(result.notifications.size(), 1u);
    EXPECT_EQ(result.notifications[0].body,
              "3 Cookies (1 Tracking Cookies), 1 Databases, 1 Flash, 0 Silverlight, and Cache removed from Chromium");
    nlohmann::json preview = nlohmann::json::parse(dry.standardOutput), done = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(preview["layout"], "linux");
    EXPECT_EQ(preview["report"], done["report"]);
    ASSERT_EQ(preview["stores"].size(), done["stores"].size()) << preview.dump() << "\n" << done.dump();
    for (std::size_t i = 0; i < done["stores"].size(); ++i) {
        EXPECT_EQ(preview["stores"][i]["path"], done["stores"][i]["path"]);
        EXPECT_EQ(preview["stores"][i]["items"], done["stores"][i]["items"]) << done["stores"][i]["path"];
    }
    EXPECT_EQ(queryColumn(home.path(std::string(kProfile) + "/Cookies"), "SELECT host_key FROM cookies ORDER BY 1"),
              (std::vector<std::string>{".delta.localhost", "alpha.localhost", "gamma.localhost"}));
    EXPECT_EQ(queryColumn(home.path(std::string(kProfile) + "/WebStorage/QuotaManager"), "SELECT id FROM buckets ORDER BY 1"),
              (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_FALSE(home.exists(std::string(kProfile) + "/IndexedDB/http_beta.localhost_18765.indexeddb.leveldb"));
    EXPECT_TRUE(home.exists(std::string(kProfile) + "/IndexedDB/http_alpha.localhost_18765.indexeddb.leveldb"));
    EXPECT_FALSE(home.exists(".cache/chromium/Default/Cache"));
    EXPECT_FALSE(home.exists(".macromedia/Flash_Player/#SharedObjects/R1/www.beta.localhost"));
}

TEST_F(LinuxLayoutRun, ARunningBrowserIsNeverTouchedAndTheRunSaysTryAgainLater) {
    fs::create_symlink(RunningBrowser::hostName() + "-" + std::to_string(getpid()), run.home().path(std::string(kUserData) + "/SingletonLock"));
    std::map<std::string, std::string> before = snapshot(run.home().path(kUserData));
    WorkerResult result = run.run({kLinuxLayout, kChromium});
    EXPECT_EQ(result.exitStatus, 75);
    EXPECT_EQ(result.standardError, "tasselby-worker: skipped Install .config/chromium: running browser\n");
    EXPECT_EQ(snapshot(run.home().path(kUserData)), before);
}

TEST_F(LinuxLayoutRun, BrowsersAndLayoutsItDoesNotHaveAreUsageErrors) {
    std::map<std::string, std::string> before = snapshot(run.home().path(kUserData));
    for (std::vector<std::string> arguments : {std::vector<std::string>{kLinuxLayout, kSafari, kChromium},
                                               std::vector<std::string>{"--layout=windows", kChromium}}) {
        WorkerResult result = run.run(arguments);
        EXPECT_EQ(result.exitStatus, 64) << arguments.front();
        EXPECT_NE(result.standardError, "");
        EXPECT_TRUE(result.notifications.empty());
    }
    EXPECT_EQ(snapshot(run.home().path(kUserData)), before);
}

}  // namespace
}  // namespace tasselby::testing
