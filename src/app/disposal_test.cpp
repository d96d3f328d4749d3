#include <gtest/gtest.h>

#include <filesystem>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/overwrite_pattern.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;

class DisposalTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};
};

TEST_F(DisposalTest, RefusedOverwriteLeavesTheFileWhereItIs) {
    std::string path = home.writeFile("cache/data", "secret");
    platform.refuseOverwrite.insert(path);
    delegate.dispose(path, true);
    EXPECT_EQ(home.read("cache/data"), "secret");
    EXPECT_TRUE(platform.removed.empty());

    delegate.dispose(path, false);
    EXPECT_FALSE(home.exists("cache/data")) << "without the switch the file goes plainly";
}

TEST_F(DisposalTest, LinkIsOverwrittenThroughButOnlyTheLinkIsRemoved) {
    std::string target = home.writeFile("elsewhere/target", std::string(2000, '\xFF'));
    home.makeFolder("cache");
    fs::create_symlink(target, home.path("cache/link"));
    delegate.dispose(home.path("cache/link"), true);
    EXPECT_FALSE(home.exists("cache/link"));
    ASSERT_TRUE(home.exists("elsewhere/target"));
    EXPECT_TRUE(testing::isLastPassPattern(home.read("elsewhere/target")));
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
