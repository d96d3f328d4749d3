#include <gtest/gtest.h>

#include "support/cache_trees.h"
#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

using testing::itemsExcept;
using testing::itemsLeft;
using Paths = std::vector<std::string>;

const std::string kAssetCache = "Library/Caches/Adobe/Flash Player/AssetCache";
const std::string kDownloads = "Library/Caches/QuickTime/downloads";
const std::string kSafariCacheDb = "Library/Caches/com.apple.Safari/Cache.db";
const std::string kChromeData = "Library/Application Support/Google/Chrome/";
const std::string kChromePepper =
    "Library/Application Support/Google/ChromePepper Data/Shockwave Flash/CacheWritableAdobeRoot";
const std::string kChromiumData = "Library/Application Support/Chromium/";
const std::string kOperaData = "Library/Application Support/com.operasoftware.Opera";

class BrowserCacheTest : public testing::DelegateTest {
protected:
    testing::TemporaryFolder systemRoot;
    Paths items = testing::writeBrowserCaches(home);

    BrowserCacheTest() {
        platform.systemRoot = systemRoot.path();
        testing::writeTemporaryFolders(systemRoot.path());
        home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
        home.writeLocalState(testing::kChromiumRoot, {{"Profile 1", "Work"}});
    }

    // Every removal asked of the platform, relative to the home.
    Paths removals() const {
        Paths relative;
        for (const std::string& path : platform.removed) {
            relative.push_back(path.starts_with(folder.path() + "/") ? path.substr(folder.path().size() + 1) : path);
        }
        return relative;
    }
};

// The removals a browser's run asks for, in order: nothing else of the
// sample, look-alikes included, is asked for.
TEST_F(BrowserCacheTest, EveryBrowserDisposesItsPathsInOrderThenTheSharedCaches) {
    const std::vector<std::pair<std::string, Paths>> table = {
        {"WebKit", {}},
        {"Netscape", {}},
        {"safari", {}},
        {"Camino", {"Library/Caches/Camino/Cache", "Library/Caches/Metadata/Camino"}},
        // The Pepper cache is joined as plain text and disposed for every
        // profile; the GPU cache is looked for inside "Application Cache".
        {"Google Chrome",
         {kChromePepper, "Library/Caches/Google/Chrome/Default", kChromeData + "Default/Application Cache",
          kChromeData + "Default/Application Cache/GPUCache", kChromePepper, "Library/Caches/Google/Chrome/Profile 1",
          kChromeData + "Profile 1/Application Cache", kChromeData + "Profile 1/Application Cache/GPUCache"}},
        {"Chromium",
         {"Library/Application Support/ChromiumPepper Data/Shockwave Flash/CacheWritableAdobeRoot",
          "Library/Caches/Chromium/Profile 1", kChromiumData + "Profile 1/Application Cache",
          kChromiumData + "Profile 1/Application Cache/GPUCache"}},
        // Opera's one profile has the empty name: its whole cache root goes.
        {"Opera",
         {kOperaData + "/GPUCache", kOperaData + "Pepper Data/Shockwave Flash/CacheWritableAdobeRoot",
          "Library/Caches/com.operasoftware.Opera", kOperaData + "/Application Cache",
          kOperaData + "/Application Cache/GPUCache"}},
    };
    // First with the switch on, while the caches are there: the same paths
    // go, and their folders are walked without a byte written.
    for (bool secure : {true, false}) {
        platform.setBool("secureDeleteData", secure);
        for (const auto& [browser, own] : table) {
            platform.removed.clear();
            delegate.removeBrowserCache(browser);
            Paths expected = own;
            expected.insert(expected.end(), {kAssetCache, kDownloads});
            EXPECT_EQ(removals(), expected) << browser << (secure ? " secure" : "");
        }
    }
    EXPECT_TRUE(platform.overwritten.empty());
    EXPECT_FALSE(home.exists("Library/Caches/Google/Chrome/Default"));
}

// The sample has two profile folders beside a plain file and a link; the
// profiles come in listing order, each with its three caches in order.
TEST_F(BrowserCacheTest, FirefoxDisposesThreeCachesOfEveryProfileFolder) {
    delegate.removeBrowserCache("Firefox");
    Paths done = removals();
    ASSERT_EQ(done.size(), 2 * 3 + 2u);
    for (std::size_t profile = 0; profile < 2; ++profile) {
        std::string profileFolder = done[3 * profile].substr(0, done[3 * profile].rfind('/') + 1);
        EXPECT_EQ(Paths(done.begin() + 3 * profile, done.begin() + 3 * profile + 3),
                  (Paths{profileFolder + "Cache", profileFolder + "OfflineCache", profileFolder + "startupCache"}));
    }
}

// With the switch on, a file that cannot be overwritten stays and the rest
// goes on in order: Safari's own caches, the temporary folders' four, the
// cookie caches, the shared caches.
TEST_F(BrowserCacheTest, SecureSafariKeepsAFileItCannotOverwriteAndGoesOn) {
    platform.setBool("secureDeleteData", true);
    platform.refuseOverwrite.insert(home.path(kSafariCacheDb));
    delegate.removeBrowserCache("Safari");
    Paths done = removals();
    ASSERT_EQ(done.size(), 9u);
    EXPECT_EQ(done.front(), "Library/Caches/com.apple.Safari/fsCachedData");
    EXPECT_EQ(Paths(done.end() - 4, done.end()),
              (Paths{"Library/Cookies/Cookies.plist", "Library/Cookies/HSTS.plist", kAssetCache, kDownloads}));
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {"Library/Caches/com.apple.Safari/fsCachedData", "Library/Cookies", kAssetCache,
                                  kDownloads}));
    // The two property lists and the application cache database are the only
    // files overwritten; the cache folders are walked, not written.
    EXPECT_EQ(platform.overwritten.size(), 2 * 3u + 3u);
}

}  // namespace
}  // namespace tasselby
