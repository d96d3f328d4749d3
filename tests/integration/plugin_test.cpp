#include <gtest/gtest.h>

#include <filesystem>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/plugin_trees.h"

namespace tasselby::testing {
namespace {

namespace fs = std::filesystem;

// The report of a run that found nothing but plug-in data to remove.
std::string pluginReport(long flash, long silverlight, const std::string& browser) {
    return "0 Cookies (0 Tracking Cookies), 0 Databases, " + std::to_string(flash) + " Flash, " +
           std::to_string(silverlight) + " Silverlight, and Cache removed from " + browser;
}

// The one report a run posted.
std::string posted(const WorkerResult& result) {
    return result.notifications.size() == 1 ? result.notifications.front().body : "(no single report)";
}

class PluginRun : public ::testing::Test {
protected:
    void SetUp() override { run.home().writeSuitePreferences({{kDisplayNotifications, true}}); }

    WorkerRun run;
    FlashTree player = FlashTree::systemPlayer(run.home());
    SilverlightTree silverlight{run.home()};
};

// What each plug-in cleaner removes and counts is checked against the
// cleaners directly; these runs show the keep list, the counts and the stop
// reaching them through the whole worker.

// A site with a saved form password is kept by every plug-in cleaner.
TEST_F(PluginRun, KeptHostsAreLeftUntouched) {
    KeychainItem saved;
    saved.server = "www.kept.com";
    run.withKeyring({saved});
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    std::string keptSetting = player.addSiteSettings("www.kept.com");
    std::string otherSetting = player.addSiteSettings("other.com");
    std::string keptPepper = FlashTree::pepper(run.home(), kChromeRoot, "Default").addSharedObject("R1", "mail.kept.com");
    SilverlightTree::Store keptStore = silverlight.addStore("a/b/1", "store1", "kept.com", "group1");
    SilverlightTree::Store otherStore = silverlight.addStore("a/b/1", "store2", "other.com", "group2");

    WorkerResult result = run.run({kGoogleChrome});
    EXPECT_EQ(posted(result), pluginReport(1, 1, kGoogleChrome));
    EXPECT_TRUE(run.home().exists(keptSetting + "/settings.sol"));
    EXPECT_TRUE(run.home().exists(keptPepper));
    EXPECT_TRUE(run.home().exists(keptStore.store + "/id.dat"));
    EXPECT_TRUE(run.home().exists(keptStore.group + "/quota.dat"));
    EXPECT_FALSE(run.home().exists(otherSetting));
    EXPECT_FALSE(run.home().exists(otherStore.store));
    EXPECT_FALSE(run.home().exists(otherStore.group));
}

TEST_F(PluginRun, RemovingTheLastStoreOfALevelSweepsEveryOtherStore) {
    silverlight.addStore("ekrkqr54.wnr/tx5hm2dm.szm/1", "store1", "www.example.com", "group1");
    silverlight.addStore("ekrkqr54.wnr/pq81mzte.v0c/1", "store2", "other.org", "group2");
    silverlight.addStore("x1/y2/1", "store3", "third.net", "group3");

    WorkerResult result = run.run({kSafari});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(posted(result), pluginReport(0, 1, kSafari));
    EXPECT_FALSE(run.home().exists(kSilverlightRoot));
}

TEST_F(PluginRun, AStoreWithoutASiteStopsTheRunBeforeTheCachesAndTheReport) {
    std::string site = player.addSiteSettings("one.com");
    silverlight.addStore("a/b/1", "store1", std::nullopt, "group1");
    std::string cache = run.home().writeFile("Library/Caches/com.apple.Safari/Cache.db", "cache");
    std::string assets = run.home().writeFile("Library/Caches/Adobe/Flash Player/AssetCache/X/asset.swf", "swf");

    WorkerResult result = run.run({kSafari});
    EXPECT_EQ(result.exitStatus, 70);
    EXPECT_TRUE(result.notifications.empty());
    EXPECT_EQ(std::count(result.standardError.begin(), result.standardError.end(), '\n'), 1);
    EXPECT_NE(result.standardError.find("Silverlight"), std::string::npos) << result.standardError;
    // The Flash cleaner ran before the stop; the cache cleaner never did.
    EXPECT_FALSE(run.home().exists(site));
    EXPECT_TRUE(fs::exists(cache));
    EXPECT_TRUE(fs::exists(assets));
}

TEST_F(PluginRun, LinksInsideThePluginTreesAreNotFollowed) {
    testing::TemporaryFolder outside{"tasselby-outside"};
    SampleHome elsewhere{outside.path()};
    elsewhere.writeFile("objects/example.com/data.sol", "precious");
    elsewhere.writeFile("group/used.dat", "precious");
    elsewhere.writeFile("settings.sol", "precious");
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    FlashTree pepper = FlashTree::pepper(run.home(), kChromeRoot, "Default");
    pepper.addSharedObject("R1", "other.com");
    fs::create_directory_symlink(elsewhere.path("objects"), run.home().path(pepper.sharedObjects() + "/LINKED"));
    player.addGlobalSettings();
    fs::create_symlink(elsewhere.path("settings.sol"), run.home().path(player.settings() + "/#linked.com"));
    SilverlightTree::Store store = silverlight.addStore("a/b/1", "store1", "example.com", "group1");
    fs::remove_all(run.home().path(store.group));
    fs::create_directory_symlink(elsewhere.path("group"), run.home().path(store.group));
    auto outsideBefore = snapshot(outside.path());
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kSecureDeleteData, true}});

    WorkerResult result = run.run({kGoogleChrome});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(posted(result), pluginReport(2, 1, kGoogleChrome));
    EXPECT_EQ(snapshot(outside.path()), outsideBefore);
    for (const char* file : {"objects/example.com/data.sol", "group/used.dat", "settings.sol"}) {
        EXPECT_EQ(elsewhere.read(file), "precious") << file;
    }
}

}  // namespace
}  // namespace tasselby::testing
