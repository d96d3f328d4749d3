#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

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
const std::string kTemporaryUser = "private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000";

// A run with the sample caches in the home and the temporary folders under
// a system root of its own.
class CacheRun {
public:
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

// A "Local State" that is missing, a named pipe nobody writes to, or a link
// to an endless device cannot be read: the run stops at once, removing nothing.
TEST(ChromeCaches, UnreadableProfileListStopsTheRunBeforeAnyRemoval) {
    for (const char* kind : {"missing", "pipe", "endless"}) {
        CacheRun cache;
        const std::string localState = cache.run.home().path(std::string(kChromeRoot) + "/Local State");
        std::filesystem::create_directories(cache.run.home().path(kChromeRoot));
        if (std::string(kind) == "pipe") {
            ASSERT_EQ(mkfifo(localState.c_str(), 0600), 0);
        } else if (std::string(kind) == "endless") {
            std::filesystem::create_symlink("/dev/zero", localState);
        }
        WorkerResult result = cache.start(kGoogleChrome, false);
        EXPECT_EQ(result.exitStatus, 70) << kind;
        EXPECT_EQ(std::count(result.standardError.begin(), result.standardError.end(), '\n'), 1) << kind;
        EXPECT_TRUE(result.notifications.empty()) << kind;
        EXPECT_EQ(itemsLeft(cache.run.home(), cache.homeItems), cache.homeItems) << kind;
    }
}

// Which paths each browser asks to remove is checked against the cleaners
// directly; a whole Safari run shows what goes on disk, in the home and in the
// system's temporary folders. With the switch on, a file is overwritten where
// it lies: a second hard link outside the removed tree shows the last pass,
// and a running program's copy, which cannot be opened for writing, stays.
// Nothing is overwritten through a symbolic link: a linked local-storage file
// and cookie property list go as links, their targets keeping every byte.
TEST(SecureCaches, SafariRunRemovesItsCachesAndOverwritesWhatItCanOpen) {
    CacheRun cache;
    const SampleHome& home = cache.run.home();
    std::string cacheDb = home.path("Library/Caches/com.apple.Safari/Cache.db");
    std::string keeper = home.writeFile("Documents/keeper", std::string(5000, '\xFF'));
    std::filesystem::remove(cacheDb);
    std::filesystem::create_hard_link(keeper, cacheDb);
    BusyExecutable busy(home.path("Library/Cookies/Cookies.plist"));
    TemporaryFolder outsideFolder{"tasselby-outside"};
    SampleHome outside{outsideFolder.path()};
    const std::string linked[] = {"Library/Safari/LocalStorage/http_example.org_0.localstorage",
                                  "Library/Cookies/HSTS.plist"};
    for (const std::string& item : linked) {
        std::string target = outside.writeFile(lastPathComponent(item), std::string(5000, '\xFF'));
        std::filesystem::remove(home.path(item));
        home.makeFolder(item.substr(0, item.rfind('/')));
        std::filesystem::create_symlink(target, home.path(item));
    }

    WorkerResult result = cache.start(kSafari, true);
    EXPECT_EQ(result.exitStatus, 0);
    ASSERT_EQ(result.notifications.size(), 1u);
    EXPECT_TRUE(result.notifications.front().body.ends_with("and Cache removed from Safari"));
    EXPECT_EQ(itemsLeft(home, cache.homeItems),
              itemsExcept(cache.homeItems, {"Library/Caches/com.apple.Safari/Cache.db",
                                            "Library/Caches/com.apple.Safari/fsCachedData",
                                            "Library/Cookies/HSTS.plist", kAssetCache, kDownloads}));
    EXPECT_EQ(itemsLeft(cache.system, cache.temporaryItems),
              itemsExcept(cache.temporaryItems,
                          {kTemporaryUser + "/C/com.apple.Safari/ApplicationCache.db", kTemporaryUser + "/C/MediaCache",
                           kTemporaryUser + "/C/com.apple.WebKit.WebContent+com.apple.Safari/MediaCache",
                           kTemporaryUser + "/T/com.apple.WebProcess+com.apple.Safari/MediaCache"}));
    std::string bytes = home.read("Documents/keeper");
    EXPECT_EQ(bytes.size(), 5000u);
    EXPECT_TRUE(isLastPassPattern(bytes));
    EXPECT_EQ(home.read("Library/Cookies/Cookies.plist"), busy.contents());
    for (const std::string& item : linked) {
        EXPECT_FALSE(home.exists(item)) << item;
        EXPECT_EQ(outside.read(lastPathComponent(item)), std::string(5000, '\xFF')) << item;
    }
}

}  // namespace
}  // namespace tasselby::testing
