#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/plugin_trees.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using testing::FlashTree;

// Runs each test inside its own working folder, since the cleaner's unexpanded
// paths resolve against it; the previous working folder comes back afterwards.
class FlashCleanerTest : public ::testing::Test {
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
    testing::TemporaryFolder homeFolder{"tasselby-home"};
    testing::TemporaryFolder work{"tasselby-work"};
    testing::SampleHome home{homeFolder.path()};
    // The same layout below a folder named "~" in the working folder.
    testing::SampleHome tildeTree{work.path() + "/~"};
    FakePlatform platform{homeFolder.path()};
    WorkerAppDelegate delegate{platform};
    FlashTree player = FlashTree::systemPlayer(home);
};

TEST_F(FlashCleanerTest, SharedObjectsAreCountedOncePerHostAndLeftInTheHome) {
    std::string withWww = player.addSharedObject("RZXX9SFB", "www.example.com");
    std::string bare = player.addSharedObject("4PRPYGAV", "example.com");
    std::string other = player.addSharedObject("4PRPYGAV", "news.example.com");

    EXPECT_EQ(delegate.removeFlash("Safari", {}), 2);
    for (const std::string& folder : {withWww, bare, other}) {
        EXPECT_TRUE(home.exists(folder)) << folder;
        EXPECT_TRUE(recordedRemoval(unexpanded(folder))) << folder;
    }
}

TEST_F(FlashCleanerTest, DotEntriesAndKeptSitesAreLeftAlone) {
    player.addSharedObject("RZXX9SFB", "www.kept.com");
    player.addSharedObject("RZXX9SFB", "mail.kept.com");
    home.writeFile(std::string(testing::kFlashSharedObjects) + "/RZXX9SFB/.DS_Store", "x");
    home.writeFile(std::string(testing::kFlashSharedObjects) + "/.DS_Store", "x");
    player.addSiteSettings("www.kept.com");
    player.addGroupedSettings("##", "kept.com");

    EXPECT_EQ(delegate.removeFlash("Safari", {"kept.com"}), 0);
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(FlashCleanerTest, SettingsEntriesFollowTheirOwnPathForms) {
    std::string global = player.addGlobalSettings();
    std::string site = player.addSiteSettings("www.one.com");
    std::string groupedA = player.addGroupedSettings("##", "two.com");
    std::string groupedB = player.addGroupedSettings("##", "www.three.com");
    std::string dotted = player.addGroupedSettings("##", ".hidden.com");
    std::string noHash = home.makeFolder(std::string(testing::kFlashSettings) + "/four.com");
    std::string nameless = player.addSiteSettings("^odd");

    // one.com, two.com, three.com, .hidden.com and ^odd, which names no site.
    EXPECT_EQ(delegate.removeFlash("WebKit", {"three.org"}), 5);
    EXPECT_FALSE(home.exists(site));
    EXPECT_FALSE(home.exists(nameless));
    EXPECT_TRUE(recordedRemoval(home.path(site)));
    for (const std::string& grouped : {groupedA, groupedB, dotted}) {
        EXPECT_TRUE(home.exists(grouped)) << grouped;
        EXPECT_TRUE(recordedRemoval(unexpanded(grouped))) << grouped;
    }
    EXPECT_TRUE(home.exists(global));
    EXPECT_TRUE(fs::exists(noHash));
    EXPECT_EQ(platform.removed.size(), 5u);
}

TEST_F(FlashCleanerTest, ATildeFolderInTheWorkingFolderTakesTheUnexpandedRemovals) {
    std::string shared = player.addSharedObject("RZXX9SFB", "www.example.com");
    std::string grouped = player.addGroupedSettings("##", "two.com");
    std::string site = player.addSiteSettings("one.com");
    FlashTree workPlayer = FlashTree::systemPlayer(tildeTree);
    workPlayer.addSharedObject("RZXX9SFB", "www.example.com");
    workPlayer.addGroupedSettings("##", "two.com");
    workPlayer.addSiteSettings("one.com");
    std::string kept = workPlayer.addSharedObject("RZXX9SFB", "kept.com");
    std::string unrelated = tildeTree.writeFile("Library/Preferences/com.example.app.plist", "keep me");

    EXPECT_EQ(delegate.removeFlash("Safari", {"kept.com"}), 3);
    EXPECT_FALSE(tildeTree.exists(shared));
    EXPECT_FALSE(tildeTree.exists(grouped));
    EXPECT_TRUE(home.exists(shared));
    EXPECT_TRUE(home.exists(grouped));
    // A single-"#" entry goes by its expanded path: the home's, not the working folder's.
    EXPECT_FALSE(home.exists(site));
    EXPECT_TRUE(tildeTree.exists(site));
    EXPECT_TRUE(tildeTree.exists(kept));
    EXPECT_TRUE(fs::exists(unrelated));
}

TEST_F(FlashCleanerTest, SecureDeletionOverwritesOnlyWhatTheUnexpandedPathsReach) {
    platform.setBool("secureDeleteData", true);
    std::string site = player.addSiteSettings("one.com");
    std::string grouped = player.addGroupedSettings("##", "two.com");
    // In the working folder's tree both entries are plain files.
    std::string workSite = tildeTree.writeFile(site, "private bytes");
    std::string workGrouped = tildeTree.writeFile(grouped, "private bytes");
    platform.refuseOverwrite.insert(unexpanded(grouped));

    EXPECT_EQ(delegate.removeFlash("Safari", {}), 2);
    // The "#" entry's overwrite reaches the working folder's file, its
    // removal the home's entry.
    EXPECT_EQ(platform.overwritten, std::vector<std::string>(3, unexpanded(site)));
    EXPECT_NE(tildeTree.read(site), "private bytes");
    EXPECT_FALSE(home.exists(site));
    // The refused overwrite keeps the "##" entry, which still counts.
    EXPECT_EQ(tildeTree.read(grouped), "private bytes");
    EXPECT_FALSE(recordedRemoval(unexpanded(grouped)));
    EXPECT_TRUE(fs::exists(workSite));
    EXPECT_TRUE(fs::exists(workGrouped));
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

TEST_F(FlashCleanerTest, ChromiumFamilyAddsTheBuiltInPlayersRemovals) {
    player.addSharedObject("RZXX9SFB", "example.com");
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    std::string pepperDefault = FlashTree::pepper(home, testing::kChromeRoot, "Default").addSharedObject("R1", "example.com");
    std::string pepperWork = FlashTree::pepper(home, testing::kChromeRoot, "Profile 1").addSharedObject("R2", "example.com");

    EXPECT_EQ(delegate.removeFlash("Opera", {}), 1);
    EXPECT_TRUE(home.exists(pepperDefault));
    EXPECT_EQ(delegate.removeFlash("Google Chrome", {}), 3);
    EXPECT_FALSE(home.exists(pepperDefault));
    EXPECT_FALSE(home.exists(pepperWork));
}

}  // namespace
}  // namespace tasselby
