#include <gtest/gtest.h>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/cache_trees.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::itemsExcept;
using testing::itemsLeft;

const std::string kUser = "private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000";

class ExtraCacheTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::TemporaryFolder systemFolder;
    testing::SampleHome home{folder.path()};
    testing::SampleHome system{systemFolder.path()};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};
    std::vector<std::string> items = testing::writeTemporaryFolders(systemFolder.path());

    ExtraCacheTest() { platform.systemRoot = systemFolder.path(); }
};

TEST_F(ExtraCacheTest, OnlySafarisCachesFourLevelsDownGo) {
    delegate.clearExtraCache();
    EXPECT_EQ(itemsLeft(system, items),
              itemsExcept(items, {kUser + "/C/com.apple.Safari/ApplicationCache.db", kUser + "/C/MediaCache",
                                  kUser + "/C/com.apple.WebKit.WebContent+com.apple.Safari/MediaCache",
                                  kUser + "/T/com.apple.WebProcess+com.apple.Safari/MediaCache"}));
    EXPECT_EQ(platform.removed.size(), 4u) << "no link is followed or removed";
}

TEST_F(ExtraCacheTest, SafariFolderWithoutApplicationCacheIsLeftUntouched) {
    std::filesystem::remove(system.path(kUser + "/C/com.apple.Safari/ApplicationCache.db"));
    platform.setBool("secureDeleteData", true);
    delegate.clearExtraCache();
    EXPECT_TRUE(platform.overwritten.empty());
    EXPECT_EQ(platform.removed.size(), 3u);
    EXPECT_TRUE(system.exists(kUser + "/C/com.apple.Safari/Cache.db"));
}

TEST_F(ExtraCacheTest, MissingTemporaryFoldersAreNothingToDo) {
    platform.systemRoot = folder / "nowhere";
    delegate.clearExtraCache();
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(ExtraCacheTest, CookieCacheGoesOnPastAFileItCannotOverwrite) {
    std::string cookies = home.writeFile("Library/Cookies/Cookies.plist", "bplist00");
    std::string hsts = home.writeFile("Library/Cookies/HSTS.plist", "bplist00");
    platform.setBool("secureDeleteData", true);
    platform.refuseOverwrite.insert(cookies);
    delegate.clearExtraCookieCache();
    EXPECT_TRUE(home.exists("Library/Cookies/Cookies.plist"));
    EXPECT_FALSE(home.exists("Library/Cookies/HSTS.plist"));
    EXPECT_EQ(platform.overwritten, std::vector<std::string>(3, hsts));
}

TEST_F(ExtraCacheTest, CookieCacheIsRemovedWithoutAnExistenceTest) {
    delegate.clearExtraCookieCache();
    EXPECT_EQ(platform.removed, (std::vector<std::string>{home.path("Library/Cookies/Cookies.plist"),
                                                          home.path("Library/Cookies/HSTS.plist")}));
}

}  // namespace
}  // namespace tasselby
