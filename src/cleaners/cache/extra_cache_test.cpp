#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/cache_trees.h"
#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

const std::string kUser = "private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000";

class ExtraCacheTest : public testing::DelegateTest {
protected:
    testing::TemporaryFolder systemFolder;
    testing::SampleHome system{systemFolder.path()};

    ExtraCacheTest() {
        platform.systemRoot = systemFolder.path();
        testing::writeTemporaryFolders(systemFolder.path());
    }
};

// Which items of the sample tree go is checked over a whole run in the
// integration tests; here, a Safari folder without its cache database costs
// neither an overwrite nor a removal, and no link is followed or removed.
TEST_F(ExtraCacheTest, SafariFolderWithoutApplicationCacheIsLeftUntouched) {
    std::filesystem::remove(system.path(kUser + "/C/com.apple.Safari/ApplicationCache.db"));
    platform.setBool("secureDeleteData", true);
    delegate.clearExtraCache();
    EXPECT_TRUE(platform.overwritten.empty());
    std::vector<std::string> removed = platform.removed;
    std::sort(removed.begin(), removed.end());
    EXPECT_EQ(removed, (std::vector<std::string>{
                           system.path(kUser + "/C/MediaCache"),
                           system.path(kUser + "/C/com.apple.WebKit.WebContent+com.apple.Safari/MediaCache"),
                           system.path(kUser + "/T/com.apple.WebProcess+com.apple.Safari/MediaCache")}));
}

TEST_F(ExtraCacheTest, CookieCacheIsRemovedWithoutAnExistenceTest) {
    delegate.clearExtraCookieCache();
    EXPECT_EQ(platform.removed, (std::vector<std::string>{home.path("Library/Cookies/Cookies.plist"),
                                                          home.path("Library/Cookies/HSTS.plist")}));
}

}  // namespace
}  // namespace tasselby
