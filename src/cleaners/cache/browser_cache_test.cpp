#include <gtest/gtest.h>

#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/cache_trees.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::itemsExcept;
using testing::itemsLeft;

const std::string kAssetCache = "Library/Caches/Adobe/Flash Player/AssetCache";
const std::string kDownloads = "Library/Caches/QuickTime/downloads";

class BrowserCacheTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::TemporaryFolder systemRoot;
    testing::SampleHome home{folder.path()};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};
    std::vector<std::string> items = testing::writeBrowserCaches(home);
    std::vector<std::string> temporaryItems = testing::writeTemporaryFolders(systemRoot.path());

    BrowserCacheTest() {
        platform.systemRoot = systemRoot.path();
        home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
        home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    }

    // Every removal asked of the platform, relative to the home.
    std::vector<std::string> removals() const {
        std::vector<std::string> relative;
        for (const std::string& path : platform.removed) {
            relative.push_back(path.starts_with(folder.path() + "/") ? path.substr(folder.path().size() + 1) : path);
        }
        return relative;
    }
};

TEST_F(BrowserCacheTest, WebKitAndUnknownNamesGetOnlyTheSharedCaches) {
    for (const char* browser : {"WebKit", "Netscape", "safari", ""}) {
        platform.removed.clear();
        delegate.removeBrowserCache(browser);
        EXPECT_EQ(removals(), (std::vector<std::string>{kAssetCache, kDownloads})) << browser;
    }
    EXPECT_EQ(itemsLeft(home, items), itemsExcept(items, {kAssetCache, kDownloads}));
    testing::SampleHome system(systemRoot.path());
    EXPECT_EQ(itemsLeft(system, temporaryItems), temporaryItems);
}

TEST_F(BrowserCacheTest, SafariDisposesItsCachesThenTheSystemWideOnes) {
    delegate.removeBrowserCache("Safari");
    std::vector<std::string> done = removals();
    ASSERT_GE(done.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(done.begin(), done.begin() + 2),
              (std::vector<std::string>{"Library/Caches/com.apple.Safari/Cache.db",
                                        "Library/Caches/com.apple.Safari/fsCachedData"}));
    EXPECT_EQ(std::vector<std::string>(done.end() - 4, done.end()),
              (std::vector<std::string>{"Library/Cookies/Cookies.plist", "Library/Cookies/HSTS.plist", kAssetCache,
                                        kDownloads}));
    EXPECT_EQ(done.size(), 10u) << "four caches of the temporary folders in between";
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {"Library/Caches/com.apple.Safari/Cache.db",
                                  "Library/Caches/com.apple.Safari/fsCachedData", "Library/Cookies", kAssetCache,
                                  kDownloads}));
}

TEST_F(BrowserCacheTest, CaminoDisposesItsTwoFolders) {
    delegate.removeBrowserCache("Camino");
    EXPECT_EQ(removals(), (std::vector<std::string>{"Library/Caches/Camino/Cache", "Library/Caches/Metadata/Camino",
                                                    kAssetCache, kDownloads}));
}

TEST_F(BrowserCacheTest, FirefoxDisposesThreeCachesOfEveryProfileFolderOnly) {
    delegate.removeBrowserCache("Firefox");
    const std::string profiles = "Library/Caches/Firefox/Profiles/";
    EXPECT_EQ(removals().size(), 2 * 3 + 2u) << "a plain file and a link are no profiles";
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {profiles + "x7q2a9lk.default/Cache", profiles + "x7q2a9lk.default/OfflineCache",
                                  profiles + "x7q2a9lk.default/startupCache", profiles + "m3n8b1zd.work/Cache",
                                  kAssetCache, kDownloads}));
}

TEST_F(BrowserCacheTest, ChromeDisposesPerProfileInOrderWithTheQuirkyPaths) {
    delegate.removeBrowserCache("Google Chrome");
    const std::string pepper = "Library/Application Support/Google/ChromePepper Data/Shockwave Flash/CacheWritableAdobeRoot";
    const std::string data = "Library/Application Support/Google/Chrome/";
    EXPECT_EQ(removals(),
              (std::vector<std::string>{pepper, "Library/Caches/Google/Chrome/Default",
                                        data + "Default/Application Cache", data + "Default/Application Cache/GPUCache",
                                        pepper, "Library/Caches/Google/Chrome/Profile 1",
                                        data + "Profile 1/Application Cache",
                                        data + "Profile 1/Application Cache/GPUCache", kAssetCache, kDownloads}));
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {pepper, "Library/Caches/Google/Chrome/Default",
                                  "Library/Caches/Google/Chrome/Profile 1", data + "Default/Application Cache",
                                  data + "Profile 1/Application Cache", kAssetCache, kDownloads}));
}

TEST_F(BrowserCacheTest, ChromiumReadsItsOwnProfileList) {
    home.writeLocalState(testing::kChromiumRoot, {{"Profile 1", "Work"}});
    delegate.removeBrowserCache("Chromium");
    EXPECT_EQ(removals(),
              (std::vector<std::string>{
                  "Library/Application Support/ChromiumPepper Data/Shockwave Flash/CacheWritableAdobeRoot",
                  "Library/Caches/Chromium/Profile 1", "Library/Application Support/Chromium/Profile 1/Application Cache",
                  "Library/Application Support/Chromium/Profile 1/Application Cache/GPUCache", kAssetCache,
                  kDownloads}));
}

TEST_F(BrowserCacheTest, ChromeWithoutProfilesDisposesNothingOfChrome) {
    home.writeLocalState(testing::kChromeRoot, {});
    delegate.removeBrowserCache("Google Chrome");
    EXPECT_EQ(removals(), (std::vector<std::string>{kAssetCache, kDownloads}));
}

TEST_F(BrowserCacheTest, ChromeWithoutProfileListStopsTheRun) {
    std::filesystem::remove(home.path(std::string(testing::kChromeRoot) + "/Local State"));
    EXPECT_THROW(delegate.removeBrowserCache("Google Chrome"), RunStopped);
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(BrowserCacheTest, OperaDisposesItsWholeCacheRootInOrder) {
    delegate.removeBrowserCache("Opera");
    const std::string data = "Library/Application Support/com.operasoftware.Opera";
    EXPECT_EQ(removals(),
              (std::vector<std::string>{data + "/GPUCache", data + "Pepper Data/Shockwave Flash/CacheWritableAdobeRoot",
                                        "Library/Caches/com.operasoftware.Opera", data + "/Application Cache",
                                        data + "/Application Cache/GPUCache", kAssetCache, kDownloads}));
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {data + "/GPUCache", data + "Pepper Data", "Library/Caches/com.operasoftware.Opera",
                                  data + "/Application Cache", kAssetCache, kDownloads}));
}

TEST_F(BrowserCacheTest, ChromeCacheOfAnotherNameDisposesNothing) {
    delegate.clearChromeCache("Safari");
    delegate.clearChromeCache("Camino");
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(BrowserCacheTest, SecureSafariKeepsAFileItCannotOverwriteAndGoesOn) {
    platform.setBool("secureDeleteData", true);
    platform.refuseOverwrite.insert(home.path("Library/Caches/com.apple.Safari/Cache.db"));
    delegate.removeBrowserCache("Safari");
    EXPECT_EQ(itemsLeft(home, items),
              itemsExcept(items, {"Library/Caches/com.apple.Safari/fsCachedData", "Library/Cookies", kAssetCache,
                                  kDownloads}));
    EXPECT_EQ(home.read("Library/Caches/com.apple.Safari/Cache.db"), std::string(700, 'c'));
    // The two property lists and the application cache database are the only
    // files disposed; the cache folders are walked, not written.
    EXPECT_EQ(platform.overwritten.size(), 2 * 3u + 3u);
}

TEST_F(BrowserCacheTest, SecureChromeWalksItsFoldersAndRemovesThem) {
    platform.setBool("secureDeleteData", true);
    delegate.removeBrowserCache("Google Chrome");
    EXPECT_TRUE(platform.overwritten.empty());
    EXPECT_FALSE(home.exists("Library/Caches/Google/Chrome/Default"));
    EXPECT_TRUE(home.exists("Library/Caches/Google/Chrome/Crashpad"));
}

}  // namespace
}  // namespace tasselby
