#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

#include "base/names.h"
#include "base/text.h"
#include "integration/worker_run.h"
#include "support/busy_executable.h"
#include "support/cache_trees.h"
#include "support/overwrite_pattern.h"

namespace tasselby::testing {
namespace {

const std::string kAssetCache = "Library/Caches/Adobe/Flash Player/AssetCache";
const std::string kDownloads = "Library/Caches/QuickTime/downloads";
const std::string kChromeData = std::string(kChromeRoot) + "/";
const std::string kChromiumData = std::string(kChromiumRoot) + "/";
const std::string kOperaData = kOperaRoot;
const std::string kTemporaryUser = "private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000";

// One browser's run over the sample caches: what must be gone afterwards,
// in the home and in the system's temporary folders; everything else stays.
struct CacheCase {
    const char* browser;
    std::vector<std::string> homeGone;
    std::vector<std::string> temporaryGone;
    bool runs = true;  // whether the worker takes the name and reports
};

const CacheCase kCases[] = {
    {kSafari,
     {"Library/Caches/com.apple.Safari/Cache.db", "Library/Caches/com.apple.Safari/fsCachedData",
      "Library/Cookies/Cookies.plist", "Library/Cookies/HSTS.plist", kAssetCache, kDownloads},
     {kTemporaryUser + "/C/com.apple.Safari/ApplicationCache.db", kTemporaryUser + "/C/MediaCache",
      kTemporaryUser + "/C/com.apple.WebKit.WebContent+com.apple.Safari/MediaCache",
      kTemporaryUser + "/T/com.apple.WebProcess+com.apple.Safari/MediaCache"}},
    {kWebKit, {kAssetCache, kDownloads}, {}},
    // A name the worker does not know ends it before any cleaner, the shared
    // caches included.
    {"Netscape", {}, {}, false},
    {kCamino, {"Library/Caches/Camino/Cache", "Library/Caches/Metadata/Camino", kAssetCache, kDownloads}, {}},
    {kFirefox,
     {"Library/Caches/Firefox/Profiles/x7q2a9lk.default/Cache", "Library/Caches/Firefox/Profiles/x7q2a9lk.default/OfflineCache",
      "Library/Caches/Firefox/Profiles/x7q2a9lk.default/startupCache", "Library/Caches/Firefox/Profiles/m3n8b1zd.work/Cache",
      kAssetCache, kDownloads},
     {}},
    // Both profiles of "Local State"; the GPU cache beside "Application Cache"
    // and the real "Pepper Data" folder stay.
    {kGoogleChrome,
     {"Library/Application Support/Google/ChromePepper Data", "Library/Caches/Google/Chrome/Default",
      "Library/Caches/Google/Chrome/Profile 1", kChromeData + "Default/Application Cache",
      kChromeData + "Profile 1/Application Cache", kAssetCache, kDownloads},
     {}},
    // Only "Profile 1" is listed for Chromium: the "Default" folders stay.
    {kChromium,
     {"Library/Application Support/ChromiumPepper Data", "Library/Caches/Chromium/Profile 1",
      kChromiumData + "Profile 1/Application Cache", kAssetCache, kDownloads},
     {}},
    {kOpera,
     {kOperaData + "/GPUCache", kOperaData + "Pepper Data", "Library/Caches/com.operasoftware.Opera",
      kOperaData + "/Application Cache", kAssetCache, kDownloads},
     {}},
};

// A run with the sample caches in the home and the temporary folders under
// a system root of its own.
class CacheRun {
public:
    CacheRun() {
        run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
        run.home().writeLocalState(kChromiumRoot, {{"Profile 1", "Work"}});
    }

    WorkerResult start(const std::string& browser, bool secureDelete) {
        run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kSecureDeleteData, secureDelete}});
        return run.run({"--system-root=" + systemFolder.path(), browser});
    }

    WorkerRun run;
    TemporaryFolder systemFolder{"tasselby-system"};
    SampleHome system{systemFolder.path()};
    std::vector<std::string> homeItems = writeBrowserCaches(run.home());
    std::vector<std::string> temporaryItems = writeTemporaryFolders(systemFolder.path());
};

class BrowserCaches : public ::testing::TestWithParam<std::tuple<CacheCase, bool>> {};

TEST_P(BrowserCaches, ExactlyTheBrowsersCachePathsGo) {
    const auto& [expected, secureDelete] = GetParam();
    CacheRun cache;
    WorkerResult result = cache.start(expected.browser, secureDelete);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    ASSERT_EQ(result.notifications.size(), expected.runs ? 1u : 0u);
    if (expected.runs) {
        EXPECT_TRUE(result.notifications.front().body.ends_with("and Cache removed from " + std::string(expected.browser)));
    }
    EXPECT_EQ(itemsLeft(cache.run.home(), cache.homeItems), itemsExcept(cache.homeItems, expected.homeGone));
    EXPECT_EQ(itemsLeft(cache.system, cache.temporaryItems),
              itemsExcept(cache.temporaryItems, expected.temporaryGone));
}

INSTANTIATE_TEST_SUITE_P(EveryBrowser, BrowserCaches, ::testing::Combine(::testing::ValuesIn(kCases), ::testing::Bool()),
                         [](const auto& test) {
                             std::string name = std::get<0>(test.param).browser;
                             std::erase(name, ' ');
                             return name + (std::get<1>(test.param) ? "Secure" : "Plain");
                         });

TEST(ChromeCaches, EmptyProfileListLeavesEveryChromeCache) {
    CacheRun cache;
    cache.run.home().writeLocalState(kChromeRoot, {});
    WorkerResult result = cache.start(kGoogleChrome, false);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(itemsLeft(cache.run.home(), cache.homeItems), itemsExcept(cache.homeItems, {kAssetCache, kDownloads}));
}

// A profile list that is missing, a named pipe nobody writes to, or a link to
// an endless device cannot be read: the run stops at once, before any removal.
class UnreadableProfileList : public ::testing::TestWithParam<const char*> {};

TEST_P(UnreadableProfileList, StopsTheRunBeforeAnyRemoval) {
    CacheRun cache;
    std::string localState = cache.run.home().path(kChromeData + "Local State");
    std::filesystem::remove(localState);
    if (GetParam() == std::string("NamedPipe")) {
        ASSERT_EQ(mkfifo(localState.c_str(), 0600), 0);
    }
    if (GetParam() == std::string("LinkToDevZero")) std::filesystem::create_symlink("/dev/zero", localState);
    WorkerResult result = cache.start(kGoogleChrome, false);
    EXPECT_EQ(result.exitStatus, 70);
    EXPECT_EQ(std::count(result.standardError.begin(), result.standardError.end(), '\n'), 1);
    EXPECT_TRUE(result.notifications.empty());
    EXPECT_EQ(itemsLeft(cache.run.home(), cache.homeItems), cache.homeItems);
}

INSTANTIATE_TEST_SUITE_P(ChromeCaches, UnreadableProfileList, ::testing::Values("Missing", "NamedPipe", "LinkToDevZero"));

// With the switch on, a file is overwritten where it lies: a second hard link
// outside the removed tree shows the last pass, and a running program's copy,
// which cannot be opened for writing, stays.
TEST(SecureCaches, OverwriteReachesOtherLinksAndSparesWhatCannotBeOpened) {
    CacheRun cache;
    const SampleHome& home = cache.run.home();
    std::string cacheDb = home.path("Library/Caches/com.apple.Safari/Cache.db");
    std::string keeper = home.writeFile("Documents/keeper", std::string(5000, '\xFF'));
    std::filesystem::remove(cacheDb);
    std::filesystem::create_hard_link(keeper, cacheDb);
    BusyExecutable busy(home.path("Library/Cookies/Cookies.plist"));

    WorkerResult result = cache.start(kSafari, true);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_FALSE(home.exists("Library/Caches/com.apple.Safari/Cache.db"));
    std::string bytes = home.read("Documents/keeper");
    EXPECT_EQ(bytes.size(), 5000u);
    EXPECT_TRUE(isLastPassPattern(bytes));
    EXPECT_EQ(home.read("Library/Cookies/Cookies.plist"), busy.contents());
    EXPECT_FALSE(home.exists("Library/Cookies/HSTS.plist"));
}

// Nothing is overwritten through a symbolic link: a linked local-storage
// file, cache file and cookie property list go as links, and their targets
// outside the home keep every byte.
TEST(SecureCaches, LinkedItemsGoAsLinksAndTheirTargetsKeepEveryByte) {
    CacheRun cache;
    const SampleHome& home = cache.run.home();
    TemporaryFolder outsideFolder{"tasselby-outside"};
    SampleHome outside{outsideFolder.path()};
    const std::string linked[] = {"Library/Safari/LocalStorage/http_example.org_0.localstorage",
                                  "Library/Caches/com.apple.Safari/Cache.db", "Library/Cookies/Cookies.plist"};
    for (const std::string& item : linked) {
        std::string target = outside.writeFile(lastPathComponent(item), std::string(5000, '\xFF'));
        std::filesystem::remove(home.path(item));
        home.makeFolder(item.substr(0, item.rfind('/')));
        std::filesystem::create_symlink(target, home.path(item));
    }

    WorkerResult result = cache.start(kSafari, true);
    EXPECT_EQ(result.exitStatus, 0);
    for (const std::string& item : linked) {
        EXPECT_FALSE(std::filesystem::is_symlink(home.path(item))) << item;
        EXPECT_EQ(outside.read(lastPathComponent(item)), std::string(5000, '\xFF')) << item;
    }
}

}  // namespace
}  // namespace tasselby::testing
