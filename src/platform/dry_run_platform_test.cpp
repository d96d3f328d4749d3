#include "platform/dry_run_platform.h"

#include <gtest/gtest.h>

#include "platform/fake_platform.h"
#include "storage/secure_delete.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

class DryRunPlatformTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    FakePlatform real{folder.path()};
    DryRunPlatform dryRun{real};
};

TEST_F(DryRunPlatformTest, ARemovedItemAndEverythingBelowItReadAsGoneWhileTheDiskKeepsThem) {
    std::string cache = home.path("cache");
    home.writeFile("cache/a/data", "bytes");
    home.writeFile("cache/b", "bytes");

    EXPECT_TRUE(dryRun.removeItem(cache + "/a/"));
    EXPECT_TRUE(dryRun.removeItem(cache + "/missing")) << "a missing item is gone, as in a real run";
    EXPECT_EQ(dryRun.removals(), std::vector<std::string>{cache + "/a/"});
    EXPECT_TRUE(real.removed.empty());
    EXPECT_EQ(home.read("cache/a/data"), "bytes");

    EXPECT_EQ(dryRun.contentsOfDirectory(cache), std::vector<std::string>{"b"});
    EXPECT_EQ(dryRun.fileType(cache + "//a"), FileType::None);
    EXPECT_FALSE(dryRun.fileExists(cache + "/a/data"));
    EXPECT_FALSE(dryRun.readUtf8File(cache + "/a/data"));
    EXPECT_EQ(dryRun.openForOverwrite(cache + "/a/data"), -1);
    EXPECT_EQ(dryRun.readUtf8File(cache + "/b"), "bytes") << "a sibling whose name starts the same stays";
}

TEST_F(DryRunPlatformTest, OverwritingFailsWhereARealRunWouldAndWritesNothing) {
    std::string file = home.writeFile("secret", "private bytes");
    real.refuseOverwrite.insert(home.writeFile("refused", "x"));
    EXPECT_TRUE(SecureDelete::wipe(dryRun, file));
    EXPECT_FALSE(SecureDelete::wipe(dryRun, home.path("refused")));
    EXPECT_EQ(home.read("secret"), "private bytes");
}

}  // namespace
}  // namespace tasselby
