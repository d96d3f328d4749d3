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

TEST_F(PluginRun, SharedObjectsCountOncePerHostAndOnlySiteSettingsLeaveTheHome) {
    std::string withWww = player.addSharedObject("RZXX9SFB", "www.example.com");
    std::string bare = player.addSharedObject("4PRPYGAV", "example.com");
    std::string grouped = player.addGroupedSettings("##", "two.com");
    std::string site = player.addSiteSettings("www.one.com");
    std::string global = player.addGlobalSettings();

    WorkerResult result = run.run({kSafari});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(postedCounts(result).flash, 3);
    // Without a folder named "~" in the working folder the unexpanded
    // removals find nothing.
    for (const std::string& path : {withWww, bare, grouped, global}) EXPECT_TRUE(run.home().exists(path)) << path;
    EXPECT_FALSE(run.home().exists(site));
}

TEST_F(PluginRun, AnUnrelatedTildeTreeInTheWorkingFolderLosesOnlyWhatTheRulesName) {
    testing::TemporaryFolder outside{"tasselby-outside"};
    SampleHome elsewhere{outside.path()};
    std::string mirrored = FlashTree::systemPlayer(elsewhere).addSharedObject("LINKED", "example.com");
    std::string shared = player.addSharedObject("RZXX9SFB", "example.com");
    player.addSharedObject("LINKED", "example.com");
    std::string grouped = player.addGroupedSettings("##", "two.com");
    std::string site = player.addSiteSettings("one.com");
    silverlight.addStore("a/b/1", "store1", "kept.org", "group1");

    SampleHome tilde{run.workingFolder() + "/~"};
    FlashTree workPlayer = FlashTree::systemPlayer(tilde);
    workPlayer.addSharedObject("RZXX9SFB", "example.com");
    workPlayer.addSharedObject("RZXX9SFB", "other.com");
    workPlayer.addGroupedSettings("##", "two.com");
    workPlayer.addSiteSettings("one.com");
    tilde.writeFile("Library/Safari/History.db", "history");
    SilverlightTree(tilde).addStore("a/b/1", "store1", "kept.org", "group1");
    fs::create_directory_symlink(outside.path() + "/" + kFlashSharedObjects + "/LINKED",
                                 tilde.path(std::string(kFlashSharedObjects) + "/LINKED"));
    std::set<std::string> before = itemsBelow(run.workingFolder());
    std::set<std::string> outsideBefore = itemsBelow(outside.path());

    WorkerResult result = run.run({kSafari});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(postedCounts(result).flash, 3);
    EXPECT_EQ(postedCounts(result).silverlight, 1);

    std::set<std::string> gone;
    for (const std::string& item : before) {
        if (!fs::exists(fs::symlink_status(run.workingFolder() + "/" + item))) gone.insert(item);
    }
    std::set<std::string> named{"~/" + shared, "~/" + shared + "/player", "~/" + shared + "/player/DataStore.sol",
                                "~/" + grouped, "~/" + grouped + "/settings.sol"};
    EXPECT_EQ(gone, named);
    EXPECT_EQ(itemsBelow(outside.path()), outsideBefore);
    EXPECT_TRUE(elsewhere.exists(mirrored));
    // The home's own copies stay, except the single-"#" entry, removed by its expanded path.
    EXPECT_TRUE(run.home().exists(shared));
    EXPECT_FALSE(run.home().exists(site));
    EXPECT_TRUE(tilde.exists(site));
}

TEST_F(PluginRun, ChromeAddsItsBuiltInPlayerOncePerProfile) {
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    player.addSharedObject("RZXX9SFB", "example.com");
    FlashTree first = FlashTree::pepper(run.home(), kChromeRoot, "Default");
    FlashTree second = FlashTree::pepper(run.home(), kChromeRoot, "Profile 1");
    std::vector<std::string> gone{first.addSharedObject("R1", "www.example.com"),
                                  first.addSharedObject("R2", "example.com"), first.addSiteSettings("example.com"),
                                  second.addGroupedSettings("##", "example.com")};
    std::string global = second.addGlobalSettings();

    WorkerResult result = run.run({kGoogleChrome});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(postedCounts(result).flash, 1 + 2);
    for (const std::string& path : gone) EXPECT_FALSE(run.home().exists(path)) << path;
    EXPECT_TRUE(run.home().exists(global));
}

TEST_F(PluginRun, OperaLeavesTheBuiltInPlayerAlone) {
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    std::string pepper = FlashTree::pepper(run.home(), kChromeRoot, "Default").addSharedObject("R1", "example.com");

    WorkerResult result = run.run({kOpera});
    EXPECT_EQ(postedCounts(result).flash, 0);
    EXPECT_TRUE(run.home().exists(pepper));
}

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
