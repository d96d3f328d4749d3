#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/delegate_fixture.h"
#include "support/plugin_trees.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using testing::FlashTree;

// Runs each test inside its own working folder, since the cleaner's unexpanded
// paths resolve against it; the previous working folder comes back afterwards.
class FlashCleanerTest : public testing::DelegateTest {
protected:
    void SetUp() override {
        previousFolder = fs::current_path();
        fs::current_path(work.path());
    }
    void TearDown() override { fs::current_path(previousFolder); }

    bool recordedRemoval(const std::string& path) const {
        return std::find(platform.removed.begin(), platform.removed.end(), path) != platform.removed.end();
    }
    static std::string unexpanded(const std::string& relative) { return "~/" + relative; }

    fs::path previousFolder;
    testing::TemporaryFolder work{"tasselby-work"};
    // The same layout below a folder named "~" in the working folder.
    testing::SampleHome tildeTree{work.path() + "/~"};
    FlashTree player = FlashTree::systemPlayer(home);
};

// Only the single-"#" settings entries are removed by their expanded path;
// everything else chosen is removed by its unexpanded one and stays in the
// home. Kept sites, dot-names among the shared objects, the global settings
// and names without "#" are not touched.
TEST_F(FlashCleanerTest, EachChosenHostCountsOnceWhateverItsPathForm) {
    std::vector<std::string> unexpandedRemovals{
        player.addSharedObject("RZXX9SFB", "www.example.com"), player.addSharedObject("4PRPYGAV", "example.com"),
        player.addSharedObject("4PRPYGAV", "news.example.com"), player.addGroupedSettings("##", "two.com"),
        player.addGroupedSettings("##", "www.three.com"), player.addGroupedSettings("##", ".hidden.com")};
    std::vector<std::string> expandedRemovals{player.addSiteSettings("www.one.com"), player.addSiteSettings("^odd")};
    player.addSharedObject("RZXX9SFB", "www.kept.com");
    player.addSharedObject("RZXX9SFB", "mail.kept.com");
    player.addSiteSettings("www.kept.com");
    player.addGroupedSettings("##", "kept.com");
    home.writeFile(std::string(testing::kFlashSharedObjects) + "/RZXX9SFB/.DS_Store", "x");
    home.writeFile(std::string(testing::kFlashSharedObjects) + "/.DS_Store", "x");
    std::string global = player.addGlobalSettings();
    std::string noHash = home.makeFolder(std::string(testing::kFlashSettings) + "/four.com");

    // example.com, news.example.com, two.com, three.com, .hidden.com, one.com
    // and ^odd, which names no site.
    EXPECT_EQ(delegate.removeFlash("WebKit", {"three.org", "kept.com"}), 7);
    for (const std::string& path : unexpandedRemovals) {
        EXPECT_TRUE(home.exists(path)) << path;
        EXPECT_TRUE(recordedRemoval(unexpanded(path))) << path;
    }
    for (const std::string& path : expandedRemovals) EXPECT_FALSE(home.exists(path)) << path;
    EXPECT_TRUE(home.exists(global));
    EXPECT_TRUE(fs::exists(noHash));
    EXPECT_EQ(platform.removed.size(), 8u);
}

TEST_F(FlashCleanerTest, SecureDeletionOverwritesOnlyWhatTheUnexpandedPathsReach) {
    platform.setBool("secureDeleteData", true);
    std::string site = player.addSiteSettings("one.com");
    std::string grouped = player.addGroupedSettings("##", "two.com");
    // In the working folder's tree both entries are plain files.
    tildeTree.writeFile(site, "private bytes");
    tildeTree.writeFile(grouped, "private bytes");
    platform.refuseOverwrite.insert(unexpanded(grouped));

    EXPECT_EQ(delegate.removeFlash("Safari", {}), 2);
    // The "#" entry's overwrite reaches the working folder's file, its
    // removal the home's entry.
    EXPECT_EQ(platform.overwritten, std::vector<std::string>(3, unexpanded(site)));
    EXPECT_TRUE(tildeTree.exists(site));
    EXPECT_NE(tildeTree.read(site), "private bytes");
    EXPECT_FALSE(home.exists(site));
    // The refused overwrite keeps the "##" entry, which still counts.
    EXPECT_EQ(tildeTree.read(grouped), "private bytes");
    EXPECT_FALSE(recordedRemoval(unexpanded(grouped)));
}

TEST_F(FlashCleanerTest, LinksAreNotFollowedOutOfTheTrees) {
    testing::TemporaryFolder outside{"tasselby-outside"};
    testing::SampleHome elsewhere{outside.path()};
    // The outside folder looks like a Flash tree of its own, so that any
    // removal followed through a link would find something to take.
    std::string mirrored = FlashTree::systemPlayer(elsewhere).addSharedObject("RZXX9SFB", "victim.com");
    std::string targetFile = elsewhere.writeFile("settings.sol", "precious");
    home.makeFolder(testing::kFlashSharedObjects);
    fs::create_directory_symlink(outside.path() + "/" + testing::kFlashSharedObjects + "/RZXX9SFB",
                                 home.path(std::string(testing::kFlashSharedObjects) + "/LINKED"));
    // The working folder's "~" is a link out of it.
    fs::create_directory_symlink(outside.path(), work.path() + "/~");
    player.addSharedObject("RZXX9SFB", "victim.com");
    std::string linkedSite = player.settings() + "/#linked.com";
    home.makeFolder(player.settings());
    fs::create_symlink(targetFile, home.path(linkedSite));
    platform.setBool("secureDeleteData", true);

    EXPECT_EQ(delegate.removeFlash("Safari", {}), 2);
    EXPECT_TRUE(elsewhere.exists(mirrored));
    EXPECT_EQ(elsewhere.read("settings.sol"), "precious");
    EXPECT_FALSE(home.exists(linkedSite));
    EXPECT_TRUE(platform.overwritten.empty());
}

// The built-in player's removals are added, not the pairs it merely saw.
TEST_F(FlashCleanerTest, ChromiumFamilyAddsTheBuiltInPlayersRemovals) {
    player.addSharedObject("RZXX9SFB", "example.com");
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}});
    FlashTree pepper = FlashTree::pepper(home, testing::kChromeRoot, "Default");
    std::string removed = pepper.addSharedObject("R1", "example.com");
    std::string kept = pepper.addSharedObject("R1", "kept.com");

    EXPECT_EQ(delegate.removeFlash("Opera", {"kept.com"}), 1);
    EXPECT_TRUE(home.exists(removed));
    EXPECT_EQ(delegate.removeFlash("Google Chrome", {"kept.com"}), 2);
    EXPECT_FALSE(home.exists(removed));
    EXPECT_TRUE(home.exists(kept));
}

}  // namespace
}  // namespace tasselby
