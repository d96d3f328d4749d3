#include "platform/posix_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/lock_holder.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;

class PosixFilesTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome tree{folder.path()};
};

TEST_F(PosixFilesTest, RemovesAFolderWithEverythingButNeverALinksTarget) {
    tree.writeFile("outside/keep.txt", "keep");
    tree.writeFile("cache/a/b/c/data", "x");
    tree.writeFile("cache/.hidden", "x");
    fs::create_directory_symlink(tree.path("outside"), tree.path("cache/a/to-outside"));
    fs::create_symlink(tree.path("outside/keep.txt"), tree.path("cache/file-link"));

    EXPECT_TRUE(PosixFiles::removeItem(tree.path("cache")));
    EXPECT_FALSE(tree.exists("cache"));
    EXPECT_EQ(tree.read("outside/keep.txt"), "keep");
}

TEST_F(PosixFilesTest, ALinkToAFolderGoesAsALinkEvenWithATrailingSlash) {
    tree.writeFile("outside/keep.txt", "keep");
    fs::create_directory_symlink(tree.path("outside"), tree.path("link"));

    EXPECT_TRUE(PosixFiles::removeItem(tree.path("link") + "/"));
    EXPECT_FALSE(tree.exists("link"));
    EXPECT_EQ(tree.read("outside/keep.txt"), "keep");
}

TEST_F(PosixFilesTest, MissingItemsAreReportedAndNothingElseHappens) {
    EXPECT_FALSE(PosixFiles::removeItem(tree.path("missing")));
    EXPECT_FALSE(PosixFiles::removeItem(""));
    EXPECT_TRUE(PosixFiles::contentsOfDirectory(tree.path("missing")).empty());
}

// Only a regular file up to the bound is read, through a link or not; a named
// pipe without a writer, a device and a folder answer nothing at once. None
// of those, nor a link, is ever opened for overwriting.
TEST_F(PosixFilesTest, WholeFileReadsTakeOnlyRegularFilesOfABoundedSize) {
    tree.writeFile("text", "text");
    fs::create_symlink(tree.path("text"), tree.path("link-to-text"));
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", tree.path("zero"));
    tree.makeFolder("folder");
    fs::resize_file(tree.writeFile("huge"), PosixFiles::kMaxWholeFileSize + 1);
    EXPECT_EQ(PosixFiles::readWholeFile(tree.path("link-to-text")), "text");
    for (const char* item : {"missing", "pipe", "zero", "folder", "huge"}) {
        EXPECT_FALSE(PosixFiles::readWholeFile(tree.path(item)).has_value()) << item;
        EXPECT_FALSE(PosixFiles::readUtf8File(tree.path(item)).has_value()) << item;
    }
    for (const char* item : {"pipe", "zero", "folder", "link-to-text"}) {
        EXPECT_LT(PosixFiles::openForOverwrite(tree.path(item)), 0) << item;
    }
}

TEST_F(PosixFilesTest, TextMustBeWellFormedUtf8) {
    EXPECT_TRUE(isValidUtf8("plain ascii"));
    EXPECT_TRUE(isValidUtf8("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x8d\xaa"));
    for (const char* bad : {"\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82"}) {
        EXPECT_FALSE(isValidUtf8(bad)) << bad;
    }
    tree.writeFile("latin1.txt", "caf\xe9");
    EXPECT_FALSE(PosixFiles::readUtf8File(tree.path("latin1.txt")).has_value());
    tree.writeFile("utf8.txt", "caf\xc3\xa9\n");
    EXPECT_EQ(PosixFiles::readUtf8File(tree.path("utf8.txt")), "caf\xc3\xa9\n");
}

TEST_F(PosixFilesTest, ReplacedContentsKeepTheModeAndTheRetiredLinkKeepsTheOldBytes) {
    std::string file = tree.writeFile("profile/serviceworker.txt", "old\n");
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    EXPECT_TRUE(PosixFiles::replaceFileContents(file, "new\n", tree.path("profile/retired")));
    EXPECT_EQ(tree.read("profile/serviceworker.txt"), "new\n");
    EXPECT_EQ(tree.read("profile/retired"), "old\n");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    EXPECT_EQ(std::distance(fs::directory_iterator(tree.path("profile")), fs::directory_iterator()), 2);

    // A link or a folder is not a file to replace; the link's target stays as it was.
    tree.writeFile("outside.txt", "outside\n");
    fs::create_symlink(tree.path("outside.txt"), tree.path("link.txt"));
    EXPECT_FALSE(PosixFiles::replaceFileContents(tree.path("link.txt"), "x", std::nullopt));
    EXPECT_FALSE(PosixFiles::replaceFileContents(tree.path("profile"), "x", std::nullopt));
    EXPECT_FALSE(PosixFiles::replaceFileContents(tree.path("missing"), "x", std::nullopt));
    EXPECT_EQ(tree.read("outside.txt"), "outside\n");
    // A retired name already taken fails the whole step.
    EXPECT_FALSE(PosixFiles::replaceFileContents(file, "newer\n", tree.path("profile/retired")));
    EXPECT_EQ(tree.read("profile/serviceworker.txt"), "new\n");
}

TEST_F(PosixFilesTest, AnFcntlLockOfAnotherProcessIsSeen) {
    std::string lock = tree.writeFile(".parentlock");
    EXPECT_FALSE(PosixFiles::isLockedByOtherProcess(lock));
    {
        testing::LockHolder browser(lock);
        EXPECT_TRUE(PosixFiles::isLockedByOtherProcess(lock));
    }
    EXPECT_FALSE(PosixFiles::isLockedByOtherProcess(lock));
    EXPECT_FALSE(PosixFiles::isLockedByOtherProcess(tree.path("missing")));
}

}  // namespace
}  // namespace tasselby
