#include "platform/posix_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

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

}  // namespace
}  // namespace tasselby
