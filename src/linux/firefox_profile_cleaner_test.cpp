#include "linux/firefox_profile_cleaner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "base/names.h"
#include "linux/linux_run.h"
#include "platform/fake_platform.h"
#include "support/cookie_stores.h"
#include "support/firefox_stores.h"
#include "support/password_stores.h"
#include "support/sample_home.h"
#include "support/web_storage_stores.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

constexpr const char* kRoot = ".mozilla/firefox";
constexpr const char* kProfile = ".mozilla/firefox/a1.default";
constexpr const char* kCache = ".cache/mozilla/firefox/a1.default";

Names sorted(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

class FirefoxProfileCleanerTest : public ::testing::Test {
protected:
    FirefoxProfileCleanerTest() { platform.setBool(kDisplayNotifications, true); }

    LinuxRunStatus run(bool dryRun = false) {
        platform.args = {"worker", kFirefox};
        LinuxRun linuxRun(platform, LinuxRoots::inHome(folder.path()), errors);
        linuxRun.setDryRun(dryRun);
        LinuxRunStatus status = linuxRun.run();
        report = linuxRun.report();
        return status;
    }

    // A profile with data of alpha (saved in logins.json), gamma (saved in
    // signons.sqlite) and beta (not saved), and an extension.
    void writeProfile(const std::string& relative) {
        const std::string profile = home.path(relative);
        testing::writeLoginsJson(profile, {"https://alpha.localhost", "chrome://FirefoxAccounts"});
        testing::writeFirefoxSignons(profile + "/signons.sqlite", {"http://gamma.localhost:18765"});
        testing::writeText(profile + "/key4.db", "key database");
        testing::writeFirefoxCookies(profile + "/cookies.sqlite", {{"alpha.localhost", "session", ""},
                                                                   {".alpha.localhost", "__utma", ""},
                                                                   {"beta.localhost", "session", ""},
                                                                   {".beta.localhost", "prefs", "^userContextId=1"},
                                                                   {"gamma.localhost", "prefs", ""}});
        for (const char* origin : {"http+++alpha.localhost+18765", "http+++beta.localhost+18765",
                                   "http+++beta.localhost+18765^userContextId=1", "https+++www.beta.localhost",
                                   "http+++gamma.localhost+18765", "moz-extension+++0b8c9a2e^userContextId=4294967295"}) {
            testing::writeOriginStorage(profile, origin);
        }
        testing::writeStorageIndex(profile, {"http://beta.localhost:18765", "http://alpha.localhost:18765",
                                             "http://beta.localhost:18765^userContextId=1"});
        testing::writeText(profile + "/serviceworker.txt",
                           testing::serviceWorkerText({"http://alpha.localhost:18765/", "http://beta.localhost:18765/",
                                                       "moz-extension://0b8c9a2e/"}));
        stores.writeWebappsstore(relative + "/webappsstore.sqlite",
                                 {{"tsohlacol.ateb.:http:18765"}, {"tsohlacol.ahpla.:http:18765"}, {"no scope"}});
    }

    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    testing::WebStorageStores stores{home};
    FakePlatform platform{folder.path()};
    std::ostringstream errors;
    RunReport report;
};

TEST_F(FirefoxProfileCleanerTest, KeptSitesKeepEverythingOtherSitesLoseTheirData) {
    testing::writeProfilesIni(home.path(kRoot), {{"a1.default"}});
    writeProfile(kProfile);
    home.writeFile(std::string(kCache) + "/cache2/entries/0A1B", "cached");
    home.writeFile(std::string(kCache) + "/startupCache/startupCache.8.little", "x");
    home.writeFile(std::string(kCache) + "/safebrowsing/list", "not a cache of sites");
    const std::string logins = home.read(std::string(kProfile) + "/logins.json");

    EXPECT_EQ(run(), LinuxRunStatus::Done);
    EXPECT_EQ(errors.str(), "");
    const std::string profile = home.path(kProfile);
    EXPECT_EQ(testing::queryColumn(profile + "/cookies.sqlite", "SELECT host || ' ' || name FROM moz_cookies ORDER BY id"),
              (std::vector<std::string>{"alpha.localhost session", "gamma.localhost prefs"}));
    EXPECT_EQ(sorted(platform.contentsOfDirectory(profile + "/storage/default")),
              (Names{"http+++alpha.localhost+18765", "http+++gamma.localhost+18765",
                     "moz-extension+++0b8c9a2e^userContextId=4294967295"}));
    EXPECT_EQ(testing::queryColumn(profile + "/storage.sqlite",
                                   "SELECT repository_id || ' ' || origin FROM origin ORDER BY 1"),
              (std::vector<std::string>{"1 http://beta.localhost:18765", "2 http://alpha.localhost:18765"}));
    EXPECT_EQ(home.read(std::string(kProfile) + "/serviceworker.txt"),
              testing::serviceWorkerText({"http://alpha.localhost:18765/", "moz-extension://0b8c9a2e/"}));
    EXPECT_EQ(stores.column(std::string(kProfile) + "/webappsstore.sqlite", "SELECT scope FROM webappsstore2 ORDER BY scope"),
              (std::vector<std::string>{"no scope", "tsohlacol.ahpla.:http:18765"}));
    EXPECT_FALSE(home.exists(std::string(kCache) + "/cache2"));
    EXPECT_FALSE(home.exists(std::string(kCache) + "/startupCache"));
    EXPECT_TRUE(home.exists(std::string(kCache) + "/safebrowsing/list"));
    EXPECT_EQ(home.read(std::string(kProfile) + "/logins.json"), logins);
    EXPECT_EQ(home.read(std::string(kProfile) + "/key4.db"), "key database");

    // Beta's three origins (one of them in a container too) count once each,
    // whichever stores held them.
    ASSERT_EQ(platform.center.scheduled.size(), 1u);
    EXPECT_EQ(platform.center.scheduled[0].subtitle,
              "3 Cookies (1 Tracking Cookies), 3 Databases, 0 Flash, 0 Silverlight, and Cache removed from Firefox");
}

TEST_F(FirefoxProfileCleanerTest, ADryRunReportsAndChangesNothing) {
    testing::writeProfilesIni(home.path(kRoot), {{"a1.default"}});
    writeProfile(kProfile);
    const std::string cookies = home.read(std::string(kProfile) + "/cookies.sqlite");
    const std::string workers = home.read(std::string(kProfile) + "/serviceworker.txt");

    EXPECT_EQ(run(true), LinuxRunStatus::Done);
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_TRUE(platform.replaced.empty());
    EXPECT_EQ(home.read(std::string(kProfile) + "/cookies.sqlite"), cookies);
    EXPECT_EQ(home.read(std::string(kProfile) + "/serviceworker.txt"), workers);
    EXPECT_TRUE(home.exists(std::string(kProfile) + "/storage/default/http+++beta.localhost+18765"));
    std::map<std::string, long> items;
    for (const StoreReport& entry : report) {
        EXPECT_EQ(entry.action, "would remove") << entry.store;
        items[entry.store] += entry.items;
    }
    EXPECT_EQ(items, (std::map<std::string, long>{{"Cookies", 3}, {"Service Workers", 1}, {"Site Storage", 3},
                                                  {"Storage Index", 2}, {"Web Storage", 1}}));
}

TEST_F(FirefoxProfileCleanerTest, AHeldProfileIsSkippedTheOthersAreCleaned) {
    // One profile of the XDG root is listed by absolute path and keeps its caches inside itself.
    const std::string elsewhere = home.path("profiles/b2.work");
    testing::writeProfilesIni(home.path(kRoot), {{"a1.default"}});
    testing::writeProfilesIni(home.path(".config/mozilla/firefox"), {{elsewhere, false}});
    writeProfile(kProfile);
    writeProfile("profiles/b2.work");
    home.writeFile("profiles/b2.work/cache2/entries/0A1B", "cached");
    home.writeFile(std::string(kProfile) + "/.parentlock");
    platform.lockedFiles.insert(home.path(kProfile) + "/.parentlock");
    const std::string cookies = home.read(std::string(kProfile) + "/cookies.sqlite");

    EXPECT_EQ(run(), LinuxRunStatus::TryAgainLater);
    EXPECT_EQ(errors.str(), "tasselby-worker: skipped Profile .mozilla/firefox/a1.default: running browser\n");
    EXPECT_EQ(home.read(std::string(kProfile) + "/cookies.sqlite"), cookies);
    EXPECT_TRUE(home.exists(std::string(kProfile) + "/storage/default/http+++beta.localhost+18765"));
    EXPECT_FALSE(home.exists("profiles/b2.work/storage/default/http+++beta.localhost+18765"));
    EXPECT_FALSE(home.exists("profiles/b2.work/cache2"));
    EXPECT_EQ(testing::queryColumn(elsewhere + "/cookies.sqlite", "SELECT count(*) FROM moz_cookies"),
              std::vector<std::string>{"2"});
}

TEST_F(FirefoxProfileCleanerTest, NothingOutsideTheProfilesIsFollowed) {
    // A listing that climbs out of the root, a storage folder that is a link
    // to elsewhere, and a cookie database that is a link.
    testing::writeProfilesIni(home.path(kRoot), {{"../../victim"}, {"a1.default"}});
    home.writeFile("victim/storage/default/http+++beta.localhost+18765/ls/data.sqlite", "victim");
    testing::writeFirefoxCookies(home.path("victim/cookies.sqlite"), {{"beta.localhost", "session", ""}});
    home.writeFile("outside/ls/data.sqlite", "outside");
    home.makeFolder(std::string(kProfile) + "/storage/default");
    fs::create_directory_symlink(home.path("outside"),
                                 home.path(std::string(kProfile) + "/storage/default/http+++beta.localhost+18765"));
    fs::create_symlink(home.path("victim/cookies.sqlite"), home.path(std::string(kProfile) + "/cookies.sqlite"));

    EXPECT_EQ(run(), LinuxRunStatus::Done);
    EXPECT_FALSE(home.exists(std::string(kProfile) + "/storage/default/http+++beta.localhost+18765"));
    EXPECT_EQ(home.read("outside/ls/data.sqlite"), "outside");
    EXPECT_EQ(home.read("victim/storage/default/http+++beta.localhost+18765/ls/data.sqlite"), "victim");
    EXPECT_EQ(testing::queryColumn(home.path("victim/cookies.sqlite"), "SELECT count(*) FROM moz_cookies"),
              std::vector<std::string>{"1"});
    EXPECT_TRUE(fs::is_symlink(home.path(std::string(kProfile) + "/cookies.sqlite")));
}

TEST_F(FirefoxProfileCleanerTest, UnknownFormatsAreSkippedAndLeftAsTheyAre) {
    testing::writeProfilesIni(home.path(kRoot), {{"a1.default"}});
    const std::string profile = home.makeFolder(kProfile);
    testing::executeSql(profile + "/cookies.sqlite", "CREATE TABLE moz_cookies (id INTEGER, baseDomain TEXT, name TEXT);"
                                                     "INSERT INTO moz_cookies VALUES (1, 'beta.localhost', 'x');");
    testing::writeText(profile + "/serviceworker.txt", "99\n\nhttp://beta.localhost/\n#\n");
    testing::writeText(profile + "/webappsstore.sqlite", "not a database");
    testing::writeText(profile + "/logins.json", "{\"logins\":[{\"hostname\":");
    const std::string cookies = home.read(std::string(kProfile) + "/cookies.sqlite");

    EXPECT_EQ(run(), LinuxRunStatus::Done);
    EXPECT_EQ(home.read(std::string(kProfile) + "/cookies.sqlite"), cookies);
    EXPECT_EQ(home.read(std::string(kProfile) + "/serviceworker.txt"), "99\n\nhttp://beta.localhost/\n#\n");
    EXPECT_EQ(home.read(std::string(kProfile) + "/webappsstore.sqlite"), "not a database");
    Names skipped;
    for (const StoreReport& entry : report) {
        EXPECT_EQ(entry.action, "skipped");
        skipped.insert(entry.store + ": " + entry.reason);
    }
    EXPECT_EQ(skipped, (Names{"Cookies: unknown format", "Service Workers: unknown format",
                              "Web Storage: unknown format"}));
}

TEST_F(FirefoxProfileCleanerTest, SecureDeletionOverwritesWhatGoes) {
    testing::writeProfilesIni(home.path(kRoot), {{"a1.default"}});
    writeProfile(kProfile);
    platform.setBool(kSecureDeleteData, true);

    EXPECT_EQ(run(), LinuxRunStatus::Done);
    const std::string profile = home.path(kProfile);
    Names overwritten = sorted(platform.overwritten);
    EXPECT_TRUE(overwritten.count(profile + "/storage/default/http+++beta.localhost+18765/ls/data.sqlite"));
    EXPECT_TRUE(overwritten.count(profile + "/serviceworker.txt.tasselby-retired"));
    EXPECT_FALSE(home.exists(std::string(kProfile) + "/serviceworker.txt.tasselby-retired"));
    EXPECT_EQ(home.read(std::string(kProfile) + "/serviceworker.txt"),
              testing::serviceWorkerText({"http://alpha.localhost:18765/", "moz-extension://0b8c9a2e/"}));
    EXPECT_EQ(testing::queryColumn(profile + "/cookies.sqlite", "SELECT count(*) FROM moz_cookies"),
              std::vector<std::string>{"2"});
}

}  // namespace
}  // namespace tasselby
