#include "linux/chromium_profile_cleaner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "base/names.h"
#include "linux/login_keep_list.h"
#include "platform/fake_platform.h"
#include "support/chromium_stores.h"
#include "support/cookie_stores.h"
#include "support/lock_holder.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;

using testing::snapshot;

class ChromiumProfileCleanerTest : public ::testing::Test {
protected:
    void SetUp() override { testing::writeExampleChromiumProfile(profile.path); }

    // Cleans the profile as a run would, with the keep list of its logins.
    LinuxCounts clean(bool dryRun) {
        std::set<std::string> sites;
        cleaner.addSavedLoginSites(profile, sites);
        keep.assign(sites.begin(), sites.end());
        KeepSet kept(keep);
        CleaningRun run(delegate, kept, dryRun, platform.boolForKey(kSecureDeleteData), errors);
        ChromiumProfilePlan plan = cleaner.plan(profile, run);
        cleaner.apply(profile, plan, run);
        report = run.runReport();
        return run.counts();
    }
    bool exists(const std::string& relative) { return fs::exists(fs::symlink_status(profile.path + "/" + relative)); }

    testing::TemporaryFolder home;
    FakePlatform platform{home.path()};
    WorkerAppDelegate delegate{platform};
    ChromiumProfileCleaner cleaner{platform};
    BrowserProfile profile{"Default", home / ".config/chromium/Default", home / ".cache/chromium/Default"};
    std::vector<std::string> keep;
    std::ostringstream errors;
    RunReport report;
};

TEST_F(ChromiumProfileCleanerTest, SitesWithoutSavedPasswordsLoseEveryStore) {
    LinuxCounts counts = clean(false);
    EXPECT_EQ(keep, (std::vector<std::string>{"alpha.localhost", "gamma.localhost"}));
    EXPECT_EQ(counts.cookies, testing::kExampleRemovedCookies);
    EXPECT_EQ(counts.trackingCookies, testing::kExampleRemovedTracking);
    EXPECT_EQ(static_cast<long>(counts.siteStorage.size()), testing::kExampleRemovedOrigins);
    EXPECT_EQ(static_cast<long>(counts.flashSites.size()), testing::kExampleRemovedFlashSites);

    const std::string flash = "Pepper Data/Shockwave Flash/WritableRoot/#SharedObjects/RANDOM12/";
    struct Item {
        std::string path;
        bool kept;
    };
    const Item items[] = {
        {"IndexedDB/http_alpha.localhost_18765.indexeddb.leveldb", true},
        {"IndexedDB/chrome-extension_abcdefghijklmnop_0.indexeddb.leveldb", true},
        {"IndexedDB/http_beta.localhost_18765.indexeddb.leveldb", false},
        {"IndexedDB/http_beta.localhost_18765.indexeddb.blob", false},
        {"Service Worker/CacheStorage/a1", true},
        {"Service Worker/CacheStorage/b2", false},
        {"WebStorage/1", true},
        {"WebStorage/2", false},
        {"WebStorage/3", true},
        {"databases/http_beta.localhost_18765", false},
        {"Local Storage/http_delta.localhost_18765.localstorage", false},
        {"Local Storage/http_delta.localhost_18765.localstorage-journal", false},
        {"Session Storage", false},
        {"GPUCache", false},
        {"Cache", false},
        {flash + "alpha.localhost", true},
        {flash + "beta.localhost", false},
        {"Extension Cookies", true},
        {"Preferences", true},
    };
    for (const Item& item : items) EXPECT_EQ(exists(item.path), item.kept) << item.path;

    auto rows = [&](const std::string& file, const std::string& sql) { return testing::queryColumn(profile.path + "/" + file, sql); };
    EXPECT_EQ(rows("Cookies", "SELECT host_key || ' ' || name FROM cookies ORDER BY 1"),
              (std::vector<std::string>{"alpha.localhost sid", "gamma.localhost sid"}));
    EXPECT_EQ(rows("WebStorage/QuotaManager", "SELECT id FROM buckets ORDER BY id"), (std::vector<std::string>{"1", "3"}));
    EXPECT_TRUE(rows("databases/Databases.db", "SELECT origin FROM Databases").empty());

    std::map<std::string, std::string> localStorage = testing::readLevelDb(profile.path + "/Local Storage/leveldb");
    std::map<std::string, std::string> expected = testing::localStorageEntries({"http://alpha.localhost:18765", "http://gamma.localhost:18765"});
    expected["META:chrome-extension://abcdefghijklmnop"] = "extension";
    EXPECT_EQ(localStorage, expected);
    std::map<std::string, std::string> workers = testing::readLevelDb(profile.path + "/Service Worker/Database");
    std::map<std::string, std::string> alphaOnly = testing::serviceWorkerEntries({"http://alpha.localhost:18765/"});
    for (auto& [key, value] : alphaOnly) {
        if (key.starts_with("INITDATA_NEXT")) value = workers[key];  // counters of the two-site store stay
    }
    EXPECT_EQ(workers, alphaOnly);
}

TEST_F(ChromiumProfileCleanerTest, DryRunChangesNothingAndCountsWhatARunRemoves) {
    platform.setBool(kSecureDeleteData, true);
    std::map<std::string, std::string> before = snapshot(home.path());
    LinuxCounts planned = clean(true);
    EXPECT_EQ(snapshot(home.path()), before);
    RunReport plannedReport = report;
    LinuxCounts done = clean(false);
    EXPECT_EQ(planned.cookies, done.cookies);
    EXPECT_EQ(planned.trackingCookies, done.trackingCookies);
    EXPECT_EQ(planned.siteStorage, done.siteStorage);
    EXPECT_EQ(planned.flashSites, done.flashSites);
    ASSERT_EQ(plannedReport.size(), report.size());
    for (std::size_t i = 0; i < report.size(); ++i) {
        EXPECT_EQ(plannedReport[i].action, "would remove") << plannedReport[i].path;
        EXPECT_EQ(report[i].action, "removed") << report[i].path;
        EXPECT_EQ(plannedReport[i].items, report[i].items) << report[i].path;
    }
}

TEST_F(ChromiumProfileCleanerTest, AHeldLevelDbIsSkippedAndTheRestOfTheProfileIsCleaned) {
    const std::string localStorage = profile.path + "/Local Storage/leveldb";
    std::map<std::string, std::string> before = snapshot(localStorage);
    testing::LockHolder browser(localStorage + "/LOCK");
    for (bool dryRun : {true, false}) {
        LinuxCounts counts = clean(dryRun);
        EXPECT_EQ(counts.cookies, testing::kExampleRemovedCookies);
        EXPECT_EQ(static_cast<long>(counts.siteStorage.size()), testing::kExampleRemovedOrigins);
    }
    EXPECT_EQ(snapshot(localStorage), before);
    EXPECT_FALSE(exists("IndexedDB/http_beta.localhost_18765.indexeddb.leveldb"));
    EXPECT_EQ(std::count_if(report.begin(), report.end(), [](const StoreReport& entry) {
                  return entry.store == "Local Storage" && entry.action == "skipped" && entry.reason == "locked";
              }),
              1);
    EXPECT_NE(errors.str().find("Local Storage/leveldb: locked"), std::string::npos);
}

TEST_F(ChromiumProfileCleanerTest, LinksInsideStoresGoAsLinksAndTheirTargetsStay) {
    testing::SampleHome outside(home / "outside");
    outside.writeFile("precious/data", "keep me");
    outside.writeFile("precious.sol", "keep me too");
    for (bool secure : {false, true}) {
        SetUp();
        fs::create_directory_symlink(home / "outside/precious", profile.path + "/IndexedDB/https_evil.example_0.indexeddb.leveldb");
        fs::create_symlink(home / "outside/precious.sol", profile.path + "/Session Storage/LOG");
        fs::create_directory_symlink(home / "outside/precious", profile.path + "/Service Worker/CacheStorage/c3");
        platform.setBool(kSecureDeleteData, secure);
        clean(false);
        EXPECT_FALSE(exists("IndexedDB/https_evil.example_0.indexeddb.leveldb"));
        EXPECT_FALSE(exists("Session Storage"));
        EXPECT_TRUE(exists("Service Worker/CacheStorage/c3")) << "never read through, so never judged";
        EXPECT_EQ(outside.read("precious/data"), "keep me");
        EXPECT_EQ(outside.read("precious.sol"), "keep me too");
    }
}

TEST_F(ChromiumProfileCleanerTest, UnknownFormatsAreSkippedUntouched) {
    testing::writeLevelDb(profile.path + "/Local Storage/leveldb", {{"_http://beta.localhost:18765\0k", "v"}});
    testing::executeSql(profile.path + "/Cookies", "ALTER TABLE cookies RENAME COLUMN host_key TO domain;");
    testing::SampleHome(profile.path).writeFile("Service Worker/CacheStorage/d4/index.txt", "\xFF\xFF garbage");
    std::map<std::string, std::string> before = snapshot(profile.path + "/Local Storage/leveldb");
    LinuxCounts counts = clean(false);
    EXPECT_EQ(counts.cookies, 0);
    EXPECT_EQ(snapshot(profile.path + "/Local Storage/leveldb"), before);
    EXPECT_EQ(testing::queryColumn(profile.path + "/Cookies", "SELECT count(*) FROM cookies"), std::vector<std::string>{"6"});
    EXPECT_TRUE(exists("Service Worker/CacheStorage/d4/index.txt"));
    std::set<std::string> skipped;
    for (const StoreReport& entry : report) {
        if (entry.action == "skipped") skipped.insert(entry.store + ": " + entry.reason);
    }
    EXPECT_EQ(skipped, (std::set<std::string>{"Cookies: unknown format", "Local Storage: unknown format",
                                              "Cache Storage: unknown format"}));
    EXPECT_TRUE(errors.str().empty()) << "trying again later would not help";
}

TEST_F(ChromiumProfileCleanerTest, PasswordStoresAreByteIdenticalAfterARun) {
    testing::SampleHome files(profile.path);
    const std::string loginData = files.read("Login Data");
    const std::string account = files.read("Login Data For Account");
    platform.setBool(kSecureDeleteData, true);
    clean(false);
    EXPECT_EQ(files.read("Login Data"), loginData);
    EXPECT_EQ(files.read("Login Data For Account"), account);
    EXPECT_FALSE(files.exists("Login Data-journal"));
}

}  // namespace
}  // namespace tasselby
