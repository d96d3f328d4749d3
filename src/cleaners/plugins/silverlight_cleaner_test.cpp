#include <gtest/gtest.h>

#include <filesystem>

#include "app/run_stopped.h"
#include "support/delegate_fixture.h"
#include "support/plugin_trees.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using Store = testing::SilverlightTree::Store;

constexpr const char* kLevels = "ekrkqr54.wnr/tx5hm2dm.szm/1";
constexpr const char* kOtherLevels = "ekrkqr54.wnr/pq81mzte.v0c/1";

class SilverlightCleanerTest : public testing::DelegateTest {
protected:
    testing::SilverlightTree tree{home};
};

// The identity is taken exactly as written: with its line end it names
// another site than the kept one.
TEST_F(SilverlightCleanerTest, StoresOfOneSiteCountOnceAndKeptStoresStay) {
    Store first = tree.addStore(kLevels, "store1", "www.example.com", "group1");
    Store second = tree.addStore(kLevels, "store2", "news.example.com", "group2");
    Store withLineEnd = tree.addStore(kLevels, "store3", "www.kept.com\n", "group3");
    Store kept = tree.addStore(kLevels, "store4", "kept.com", "group4");

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 2);
    for (const std::string& path :
         {first.store, first.group, second.store, second.group, withLineEnd.store, withLineEnd.group}) {
        EXPECT_FALSE(home.exists(path)) << path;
    }
    EXPECT_TRUE(home.exists(kept.store + "/id.dat"));
    EXPECT_TRUE(home.exists(kept.group + "/quota.dat"));
}

// Each identity replaces the one before in the same store.
TEST_F(SilverlightCleanerTest, AStoreWithoutASiteStopsTheRun) {
    using Identity = std::optional<std::string>;
    for (const Identity& identity : {Identity{}, Identity{"file:///Users/a/app.xap"}, Identity{"\xff\xfe"}}) {
        Store nameless = tree.addStore(kLevels, "store1", identity, "group1");
        EXPECT_THROW(delegate.removeSilverlight({}), RunStopped);
        EXPECT_TRUE(home.exists(nameless.store));
    }
    EXPECT_TRUE(platform.removed.empty());
}

// Neither a missing, empty or escaping group name nor a level without stores
// takes away another group folder.
TEST_F(SilverlightCleanerTest, GroupFolderIsOnlyEverTheOneNamed) {
    Store noGroup = tree.addStore(kLevels, "store1", "one.com", std::nullopt);
    Store emptyGroup = tree.addStore(kLevels, "store2", "two.com", "");
    Store escaping = tree.addStore(kLevels, "store3", "three.com", "../..");
    tree.addStore(kLevels, "store4", "kept.com", "group4");
    std::string storage = std::string(testing::kSilverlightStorage) + "/";
    std::string otherGroup = home.writeFile(storage + kLevels + "/g/group9/used.dat");
    std::string storelessGroup = home.writeFile(storage + kOtherLevels + "/g/group1/used.dat");

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 3);
    EXPECT_FALSE(home.exists(noGroup.store));
    EXPECT_FALSE(home.exists(emptyGroup.store));
    EXPECT_FALSE(home.exists(escaping.store));
    EXPECT_TRUE(fs::exists(otherGroup));
    EXPECT_TRUE(fs::exists(storelessGroup));
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
    // A store folder that is a link is read through and goes as a link.
    std::string linkedStore = std::string(testing::kSilverlightStorage) + "/" + kOtherLevels + "/s/store4";
    fs::create_directory_symlink(elsewhere.path(foreign.store), home.path(linkedStore));
    platform.setBool("secureDeleteData", true);

    EXPECT_EQ(delegate.removeSilverlight({"kept.com"}), 2);
    EXPECT_FALSE(fs::is_symlink(home.path(linkedStore)));
    EXPECT_EQ(elsewhere.read(foreign.store + "/id.dat"), "victim.com");
    EXPECT_EQ(elsewhere.read("group/data.bin"), "precious");
    EXPECT_FALSE(home.exists(linked.group));
    EXPECT_TRUE(platform.overwritten.empty());
}

}  // namespace
}  // namespace tasselby
