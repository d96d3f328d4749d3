#include "platform/posix_files.h"

#include <gtest/gtest.h>

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
    EXPECT_FALSE(PosixFiles::readUtf8File(tree.path("missing")).has_value());
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
