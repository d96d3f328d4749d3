#include <gtest/gtest.h>

#include <filesystem>

#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/plugin_trees.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using Store = testing::SilverlightTree::Store;

constexpr const char* kLevels = "ekrkqr54.wnr/tx5hm2dm.szm/1";
constexpr const char* kOtherLevels = "ekrkqr54.wnr/pq81mzte.v0c/1";

class SilverlightCleanerTest : public ::testing::Test {
protected:
    testing::TemporaryFolder homeFolder{"tasselby-home"};
    testing::SampleHome home{homeFolder.path()};
    FakePlatform platform{homeFolder.path()};
    WorkerAppDelegate delegate{platform};
    testing::SilverlightTree tree{home};
};

TEST_F(SilverlightCleanerTest, StoresOfOneSiteCountOnceAndKeptStoresStay) {
    Store first = tree.addStore(kLevels, "store1", "www.example.com", "group1");
    Store second = tree.addStore(kLevels, "store2", "news.example.com", "group2");
    Store kept = tree.addStore(kLevels, "store3", "kept.com", "group3");

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 1);
    for (const std::string& path : {first.store, first.group, second.store, second.group}) {
        EXPECT_FALSE(home.exists(path)) << path;
    }
    EXPECT_TRUE(home.exists(kept.store + "/id.dat"));
    EXPECT_TRUE(home.exists(kept.group + "/quota.dat"));
}

TEST_F(SilverlightCleanerTest, EmptyingAStoreFolderSweepsThePluginsWholeFolder) {
    // Each level holds one store: whichever comes first empties its store
    // folder and takes everything with it, so the other is never judged.
    tree.addStore(kLevels, "store1", "example.com", "group1");
    tree.addStore(kOtherLevels, "store2", "other.org", "group2");
    home.writeFile(std::string(testing::kSilverlightRoot) + "/Plugins.plist", "x");

    EXPECT_EQ(delegate.removeSilverlight({}), 1);
    EXPECT_FALSE(home.exists(testing::kSilverlightRoot));
}

TEST_F(SilverlightCleanerTest, IdentityIsTakenExactlyAsWritten) {
    Store withLineEnd = tree.addStore(kLevels, "store1", "www.kept.com\n", "group1");
    tree.addStore(kLevels, "store2", "kept.com", "group2");

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 1);
    EXPECT_FALSE(home.exists(withLineEnd.store));
}

TEST_F(SilverlightCleanerTest, AStoreWithoutASiteStopsTheRun) {
    for (const std::optional<std::string>& identity : {std::optional<std::string>{},
                                                      std::optional<std::string>{"file:///Users/a/app.xap"},
                                                      std::optional<std::string>{"\xff\xfe"}}) {
        testing::TemporaryFolder otherHome{"tasselby-home"};
        testing::SampleHome sample{otherHome.path()};
        FakePlatform stopped{otherHome.path()};
        WorkerAppDelegate worker{stopped};
        Store nameless = testing::SilverlightTree(sample).addStore(kLevels, "store1", identity, "group1");

        EXPECT_THROW(worker.removeSilverlight({}), RunStopped);
        EXPECT_TRUE(sample.exists(nameless.store));
        EXPECT_TRUE(stopped.removed.empty());
    }
}

TEST_F(SilverlightCleanerTest, GroupFolderIsOnlyEverTheOneNamed) {
    Store noGroup = tree.addStore(kLevels, "store1", "one.com", std::nullopt);
    Store emptyGroup = tree.addStore(kLevels, "store2", "two.com", "");
    Store escaping = tree.addStore(kLevels, "store3", "three.com", "../..");
    tree.addStore(kLevels, "store4", "kept.com", "group4");
    std::string otherGroup = home.writeFile(std::string(testing::kSilverlightStorage) + "/" + kLevels + "/g/group9/used.dat");

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 3);
    EXPECT_FALSE(home.exists(noGroup.store));
    EXPECT_FALSE(home.exists(emptyGroup.store));
    EXPECT_FALSE(home.exists(escaping.store));
    EXPECT_TRUE(fs::exists(otherGroup));
}

TEST_F(SilverlightCleanerTest, LevelWithoutStoresLeavesItsGroupsAlone) {
    std::string group = home.writeFile(std::string(testing::kSilverlightStorage) + "/" + kLevels + "/g/group1/used.dat");
    home.writeFile(std::string(testing::kSilverlightStorage) + "/.DS_Store", "x");

    EXPECT_EQ(delegate.removeSilverlight({}), 0);
    EXPECT_TRUE(fs::exists(group));
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(SilverlightCleanerTest, LinksAreNotFollowedOutOfTheTree) {
    testing::TemporaryFolder outside{"tasselby-outside"};
    testing::SampleHome elsewhere{outside.path()};
    Store foreign = testing::SilverlightTree(elsewhere).addStore(kLevels, "store1", "victim.com", "group1");
    std::string victimGroup = elsewhere.writeFile("group/data.bin", "precious");
    home.makeFolder(testing::kSilverlightStorage);
    fs::create_directory_symlink(elsewhere.path(std::string(testing::kSilverlightStorage) + "/ekrkqr54.wnr"),
                                 home.path(std::string(testing::kSilverlightStorage) + "/linked"));
    Store linked = tree.addStore(kOtherLevels, "store2", "example.com", "outside");
    tree.addStore(kOtherLevels, "store3", "kept.com", "group3");
    fs::remove_all(home.path(linked.group));
    fs::create_directory_symlink(elsewhere.path("group"), home.path(linked.group));
    platform.setBool("secureDeleteData", true);

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 1);
    EXPECT_TRUE(elsewhere.exists(foreign.store + "/id.dat"));
    EXPECT_EQ(elsewhere.read("group/data.bin"), "precious");
    EXPECT_FALSE(home.exists(linked.group));
    EXPECT_TRUE(platform.overwritten.empty());
}

}  // namespace
}  // namespace tasselby
