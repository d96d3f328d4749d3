#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/plugin_trees.h"

namespace tasselby::testing {
namespace {

namespace fs = std::filesystem;

struct PluginCounts {
    long flash = -1;
    long silverlight = -1;
};

// The figure just before a label of the report ("3" of "3 Flash,"); -1 when
// the label is missing.
long figureBefore(const std::string& report, const std::string& label) {
    std::size_t end = report.find(" " + label + ",");
    if (end == std::string::npos || end == 0) return -1;
    std::size_t space = report.rfind(' ', end - 1);
    std::size_t start = space == std::string::npos ? 0 : space + 1;
    return std::stol(report.substr(start, end - start));
}

// The "Flash" and "Silverlight" figures of the one report a run posted.
PluginCounts postedCounts(const WorkerResult& result) {
    if (result.notifications.size() != 1) return {};
    const std::string& report = result.notifications.front().body;
    return {figureBefore(report, "Flash"), figureBefore(report, "Silverlight")};
}

// Every item below a folder, links included, never through one; the
// harness's own session folder is left out.
std::set<std::string> itemsBelow(const std::string& folder) {
    std::set<std::string> items;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(folder, error); !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
        if (it->path().filename() == ".session") {
            it.disable_recursion_pending();
            continue;
        }
        items.insert(fs::relative(it->path(), folder).string());
    }
    return items;
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
    EXPECT_EQ(postedCounts(result).flash, 1);
    EXPECT_EQ(postedCounts(result).silverlight, 1);
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
    EXPECT_EQ(postedCounts(result).silverlight, 1);
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
    std::set<std::string> outsideBefore = itemsBelow(outside.path());
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kSecureDeleteData, true}});

    WorkerResult result = run.run({kGoogleChrome});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(postedCounts(result).flash, 2);
    EXPECT_EQ(postedCounts(result).silverlight, 1);
    EXPECT_EQ(itemsBelow(outside.path()), outsideBefore);
    for (const char* file : {"objects/example.com/data.sol", "group/used.dat", "settings.sol"}) {
        EXPECT_EQ(elsewhere.read(file), "precious") << file;
    }
}

}  // namespace
}  // namespace tasselby::testing
