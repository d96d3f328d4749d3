#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;

using DisposalTest = testing::DelegateTest;

TEST_F(DisposalTest, RefusedOverwriteLeavesTheFileWhereItIs) {
    std::string path = home.writeFile("cache/data", "secret");
    platform.refuseOverwrite.insert(path);
    delegate.dispose(path, true);
    EXPECT_EQ(home.read("cache/data"), "secret");
    EXPECT_TRUE(platform.removed.empty());

    delegate.dispose(path, false);
    EXPECT_FALSE(home.exists("cache/data")) << "without the switch the file goes plainly";
}

// A link is never overwritten through, whatever it points at: it goes as a
// link and its target keeps every byte. A named pipe is never opened for
// writing either, so it stays.
TEST_F(DisposalTest, LinkGoesAsALinkAndItsTargetKeepsEveryByte) {
    std::string target = home.writeFile("elsewhere/target", std::string(2000, '\xFF'));
    home.makeFolder("cache");
    fs::create_symlink(target, home.path("cache/link"));
    fs::create_symlink(home.path("cache/missing"), home.path("cache/dangling"));
    ASSERT_EQ(mkfifo(home.path("cache/pipe").c_str(), 0600), 0);
    for (const char* item : {"cache/link", "cache/dangling", "cache/pipe"}) delegate.dispose(home.path(item), true);
    EXPECT_FALSE(home.exists("cache/link"));
    EXPECT_FALSE(fs::is_symlink(home.path("cache/dangling")));
    EXPECT_TRUE(fs::is_fifo(home.path("cache/pipe")));
    EXPECT_EQ(home.read("elsewhere/target"), std::string(2000, '\xFF'));
    EXPECT_TRUE(platform.overwritten.empty());
}

TEST_F(DisposalTest, RemovalNeverFollowsALinkOutOfTheTree) {
    home.writeFile("outside/folder/kept", "kept");
    home.writeFile("outside/file", "kept");
    for (bool secure : {false, true}) {
        home.writeFile("cache/deep/entry", "gone");
        fs::create_directory_symlink(home.path("outside/folder"), home.path("cache/deep/folder-link"));
        fs::create_symlink(home.path("outside/file"), home.path("cache/file-link"));
        fs::create_directory_symlink(home.path("outside"), home.path("top-link"));
        delegate.dispose(home.path("cache"), secure);
        delegate.dispose(home.path("top-link"), secure);
        EXPECT_FALSE(home.exists("cache"));
        EXPECT_FALSE(home.exists("top-link"));
        EXPECT_EQ(home.read("outside/folder/kept"), "kept");
        EXPECT_EQ(home.read("outside/file"), "kept");
    }
    EXPECT_TRUE(platform.overwritten.empty()) << "a folder is walked, not written, before it goes";
}

}  // namespace
}  // namespace tasselby
