#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>

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

// Everything under the folder (a link as its target) with its bytes.
std::map<std::string, std::string> tree(const SampleHome& home, const std::string& folder) {
    std::map<std::string, std::string> files;
    for (auto it = fs::recursive_directory_iterator(home.path(folder)); it != fs::recursive_directory_iterator(); ++it) {
        std::string relative = fs::relative(it->path(), home.root()).string();
        if (it->is_symlink()) {
            files[relative] = "-> " + fs::read_symlink(it->path()).string();
        } else if (it->is_regular_file()) {
            files[relative] = home.read(relative);
        }
    }
    return files;
}

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

// The keyring's delta joins the sites the profile saved: only beta's data goes.
TEST_F(LinuxLayoutRun, KeyringAndLoginDataKeepTheirSitesEverythingElseGoes) {
    WorkerResult result = run.withKeyring({KeychainItem{"delta.localhost", "form", "https", "alice", ""}}).run({kLinuxLayout, kChromium});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    ASSERT_EQ(result.notifications.size(), 1u);
    EXPECT_EQ(result.notifications[0].body,
              "3 Cookies (1 Tracking Cookies), 1 Databases, 1 Flash, 0 Silverlight, and Cache removed from Chromium");
    const SampleHome& home = run.home();
    EXPECT_EQ(queryColumn(home.path(std::string(kProfile) + "/Cookies"), "SELECT host_key FROM cookies ORDER BY 1"),
              (std::vector<std::string>{".delta.localhost", "alpha.localhost", "gamma.localhost"}));
    EXPECT_EQ(queryColumn(home.path(std::string(kProfile) + "/WebStorage/QuotaManager"), "SELECT id FROM buckets ORDER BY 1"),
              (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_FALSE(home.exists(std::string(kProfile) + "/IndexedDB/http_beta.localhost_18765.indexeddb.leveldb"));
    EXPECT_TRUE(home.exists(std::string(kProfile) + "/IndexedDB/http_alpha.localhost_18765.indexeddb.leveldb"));
    EXPECT_FALSE(home.exists(".cache/chromium/Default/Cache"));
    EXPECT_FALSE(home.exists(".macromedia/Flash_Player/#SharedObjects/R1/www.beta.localhost"));
    for (const auto& [file, bytes] : tree(home, std::string(kProfile) + "/Local Storage/leveldb")) {
        EXPECT_EQ(fs::status(home.path(file)).permissions(), fs::perms::owner_read | fs::perms::owner_write) << file;
    }
}

TEST_F(LinuxLayoutRun, ARunningBrowserIsNeverTouchedAndTheRunSaysTryAgainLater) {
    fs::create_symlink(RunningBrowser::hostName() + "-" + std::to_string(getpid()), run.home().path(std::string(kUserData) + "/SingletonLock"));
    std::map<std::string, std::string> before = tree(run.home(), kUserData);
    WorkerResult result = run.run({kLinuxLayout, kChromium});
    EXPECT_EQ(result.exitStatus, 75);
    EXPECT_EQ(result.standardError, "tasselby-worker: skipped Install .config/chromium: running browser\n");
    EXPECT_EQ(tree(run.home(), kUserData), before);
}

TEST_F(LinuxLayoutRun, BrowsersAndLayoutsItDoesNotHaveAreUsageErrors) {
    std::map<std::string, std::string> before = tree(run.home(), kUserData);
    for (std::vector<std::string> arguments : {std::vector<std::string>{kLinuxLayout, kSafari, kChromium},
                                               std::vector<std::string>{"--layout=windows", kChromium}}) {
        WorkerResult result = run.run(arguments);
        EXPECT_EQ(result.exitStatus, 64) << arguments.front();
        EXPECT_NE(result.standardError, "");
        EXPECT_TRUE(result.notifications.empty());
    }
    EXPECT_EQ(tree(run.home(), kUserData), before);
}

}  // namespace
}  // namespace tasselby::testing
