#include <gtest/gtest.h>

#include <filesystem>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/plugin_trees.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using testing::FlashTree;
using Counts = std::array<long, 2>;

class PepperFlashCleanerTest : public ::testing::Test {
protected:
    void SetUp() override { home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}}); }

    testing::TemporaryFolder homeFolder{"tasselby-home"};
    testing::SampleHome home{homeFolder.path()};
    FakePlatform platform{homeFolder.path()};
    WorkerAppDelegate delegate{platform};
    FlashTree first = FlashTree::pepper(home, testing::kChromeRoot, "Default");
    FlashTree second = FlashTree::pepper(home, testing::kChromeRoot, "Profile 1");
};

TEST_F(PepperFlashCleanerTest, OnlyChromeAndChromiumHaveABuiltInPlayer) {
    std::string folder = first.addSharedObject("R1", "example.com");
    home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}});
    for (const char* browser : {"Opera", "Safari", "google chrome", "Firefox"}) {
        EXPECT_FALSE(delegate.clearChromeFlash(browser, {})) << browser;
    }
    EXPECT_TRUE(home.exists(folder));
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_EQ(delegate.clearChromeFlash("Chromium", {}), (Counts{0, 0}));
}

TEST_F(PepperFlashCleanerTest, AHostCountsOncePerProfileAndEveryCopyGoes) {
    std::vector<std::string> gone{
        first.addSharedObject("R1", "www.example.com"),
        first.addSharedObject("R2", "example.com"),
        first.addSiteSettings("example.com"),
        second.addSharedObject("R3", "example.com"),
        second.addGroupedSettings("##", "www.example.com"),
    };
    std::string global = first.addGlobalSettings();

    EXPECT_EQ(delegate.clearChromeFlash("Google Chrome", {}), (Counts{2, 2}));
    for (const std::string& path : gone) EXPECT_FALSE(home.exists(path)) << path;
    // The settings-domain folder is only descended into; the "##" folder and
    // the global settings stay.
    EXPECT_TRUE(home.exists(global));
    EXPECT_TRUE(home.exists(second.settings() + "/##"));
}

TEST_F(PepperFlashCleanerTest, KeptHostsAreSeenButNotRemoved) {
    std::string kept = first.addSharedObject("R1", "mail.kept.com");
    std::string keptSetting = second.addSiteSettings("www.kept.com");
    std::string other = first.addSharedObject("R1", "other.com");
    std::string nameless = first.addSharedObject("R1", "^nameless");

    EXPECT_EQ(delegate.clearChromeFlash("Google Chrome", {"kept.com"}), (Counts{4, 2}));
    EXPECT_TRUE(home.exists(kept));
    EXPECT_TRUE(home.exists(keptSetting));
    EXPECT_FALSE(home.exists(other));
    EXPECT_FALSE(home.exists(nameless));
}

TEST_F(PepperFlashCleanerTest, DotNamesAreSkippedExceptInsideGroupFolders) {
    std::string hidden = home.writeFile(first.sharedObjects() + "/R1/.DS_Store", "x");
    std::string grouped = first.addGroupedSettings("##", ".hidden.com");

    EXPECT_EQ(delegate.clearChromeFlash("Google Chrome", {}), (Counts{1, 1}));
    EXPECT_TRUE(fs::exists(hidden));
    EXPECT_FALSE(home.exists(grouped));
}

TEST_F(PepperFlashCleanerTest, LinksAreNotFollowedOutOfTheProfile) {
    testing::TemporaryFolder outside{"tasselby-outside"};
    testing::SampleHome elsewhere{outside.path()};
    std::string victim = elsewhere.writeFile("R9/victim.com/data.sol", "precious");
    std::string linkedHost = elsewhere.writeFile("linked.sol", "precious");
    first.addSharedObject("R1", "example.com");
    fs::create_directory_symlink(outside.path() + "/R9", home.path(first.sharedObjects() + "/R9"));
    fs::create_symlink(linkedHost, home.path(first.sharedObjects() + "/R1/linked.com"));
    platform.setBool("secureDeleteData", true);

    EXPECT_EQ(delegate.clearChromeFlash("Google Chrome", {}), (Counts{2, 2}));
    EXPECT_TRUE(fs::exists(victim));
    EXPECT_EQ(elsewhere.read("linked.sol"), "precious");
    EXPECT_FALSE(home.exists(first.sharedObjects() + "/R1/linked.com"));
    EXPECT_TRUE(platform.overwritten.empty());
}

}  // namespace
}  // namespace tasselby
