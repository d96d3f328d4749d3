#include "base/text.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(TextTest, FormatFillsEachPlaceholderInOrder) {
    EXPECT_EQ(stringWithFormat("DELETE FROM t WHERE a = '%@' AND b = '%@';", {"x", "1"}),
              "DELETE FROM t WHERE a = 'x' AND b = '1';");
    EXPECT_EQ(stringWithFormat("%@%% of %@", {"5"}), "5% of ");
    EXPECT_EQ(stringWithFormat("('%@')", {componentsJoinedByString({}, "','")}), "('')");
    EXPECT_EQ(stringWithFormat("('%@')", {componentsJoinedByString({"a", "b"}, "','")}), "('a','b')");
}

TEST(TextTest, SplitKeepsEmptyParts) {
    EXPECT_EQ(componentsSeparatedByString("..example.com", "."),
              (std::vector<std::string>{"", "", "example", "com"}));
    EXPECT_EQ(componentsSeparatedByString("", "."), std::vector<std::string>{""});
}

TEST(TextTest, PathsJoinLikeTheWorkersPathsAreWritten) {
    EXPECT_EQ(appendingPathComponent("/h/Profiles/", "abc"), "/h/Profiles/abc");
    EXPECT_EQ(appendingPathComponent("/h/Opera", ""), "/h/Opera");
    EXPECT_EQ(appendingPathComponent("", "x"), "x");
    EXPECT_EQ(appendingPathComponent("/", "x"), "/x");
    EXPECT_EQ(lastPathComponent("/a/b.db"), "b.db");
    EXPECT_EQ(deletingPathExtension("http_a.example_0.localstorage"), "http_a.example_0");
    EXPECT_EQ(deletingPathExtension("StorageTracker.db"), "StorageTracker");
    EXPECT_EQ(deletingPathExtension(".hidden"), ".hidden");
    EXPECT_EQ(deletingPathExtension("/a.b/c"), "/a.b/c");
}

TEST(TextTest, TildeExpandsToHomeOnlyAtTheStart) {
    EXPECT_EQ(expandTilde("~/Library/Caches/Firefox/Profiles/", "/home/u"), "/home/u/Library/Caches/Firefox/Profiles");
    EXPECT_EQ(expandTilde("~", "/home/u/"), "/home/u");
    EXPECT_EQ(expandTilde("~//a", "/home/u"), "/home/u/a");
    EXPECT_EQ(expandTilde("a/~/b", "/home/u"), "a/~/b");
    EXPECT_EQ(expandTilde("~user/x", "/home/u"), "~user/x");
}

}  // namespace
}  // namespace tasselby
