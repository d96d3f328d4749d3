#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/password_stores.h"
#include "support/sample_home.h"
#include "support/web_storage_stores.h"

namespace tasselby {
namespace {

using testing::DatabasesFormat;
using testing::kFirefoxProfilesRoot;
using testing::kSafariDatabasesFolder;
using testing::kSafariLocalStorageFolder;
using testing::WebStorageStores;
using Names = std::vector<std::string>;

const std::string kChromeDefault = std::string(testing::kChromeRoot) + "/Default";
const std::string kChromeWork = std::string(testing::kChromeRoot) + "/Profile 1";

class WebStorageSweepTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    WebStorageStores stores{home};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};

    Names rows(const std::string& database, const std::string& sql) {
        return stores.column(database, sql).value_or(Names{"<query failed>"});
    }
    Names origins(const std::string& database, const std::string& table = "Databases") {
        return rows(database, "SELECT origin FROM " + table + " ORDER BY origin;");
    }
    Names scopes(const std::string& database) {
        return rows(database, "SELECT scope FROM webappsstore2 ORDER BY scope, key;");
    }
    bool removedAny(const std::string& fragment) {
        return std::any_of(platform.removed.begin(), platform.removed.end(),
                           [&](const std::string& path) { return path.find(fragment) != std::string::npos; });
    }
};

TEST_F(WebStorageSweepTest, UnservedBrowsersTouchNothing) {
    stores.writeSample();
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}});
    for (const char* browser : {"WebKit", "Chrome", "safari", "Internet Explorer"}) {
        EXPECT_EQ(delegate.removeNonFavLocalStorage(browser, {}), 0) << browser;
    }
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_EQ(scopes(testing::kCaminoWebappsstore).size(), 4u);
}

TEST_F(WebStorageSweepTest, SafariRemovesEveryWebOriginButExtensionsAndPrunesBothTables) {
    std::string index = stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari,
                                              {{"https_a.example_0"},
                                               {"http_b.example_0", "one"},
                                               {"http_b.example_0", "two"},
                                               {"safari-extension_com.example.ext-0123456789_0"}});
    // Two databases of one origin: named twice, counted twice, removed once.
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"a.example", "b.example"}), 3);
    EXPECT_FALSE(home.exists(std::string(kSafariDatabasesFolder) + "/https_a.example_0"));
    EXPECT_FALSE(home.exists(std::string(kSafariDatabasesFolder) + "/http_b.example_0"));
    EXPECT_TRUE(home.exists(std::string(kSafariDatabasesFolder) + "/safari-extension_com.example.ext-0123456789_0"));
    EXPECT_EQ(origins(index), Names{"safari-extension_com.example.ext-0123456789_0"});
    EXPECT_EQ(origins(index, "Origins"), Names{"safari-extension_com.example.ext-0123456789_0"});
}

TEST_F(WebStorageSweepTest, SafariTrackerKeepsOnlyTheRowsOfSurvivingFiles) {
    stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari, {{"http_a.example_0"}});
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_a.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_b.example_0", false);
    std::string tracker = stores.writeStorageTracker(kSafariLocalStorageFolder,
                                                     {"http_a.example_0", "http_b.example_0", "http_gone.example_0"});

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"a.example"}), 2);
    // The web database of a kept site goes all the same; its local storage stays.
    EXPECT_FALSE(home.exists(std::string(kSafariDatabasesFolder) + "/http_a.example_0"));
    EXPECT_TRUE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_a.example_0.localstorage"));
    EXPECT_FALSE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_b.example_0.localstorage"));
    EXPECT_EQ(rows(tracker, "SELECT origin FROM Origins;"), Names{"http_a.example_0"});
}

TEST_F(WebStorageSweepTest, SafariFileWhoseOverwriteFailsStaysCountedAndKeepsItsTrackerRow) {
    platform.setBool("secureDeleteData", true);
    std::string stuck = stores.writeLocalStorage(kSafariLocalStorageFolder, "http_b.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_c.example_0", false);
    std::string tracker =
        stores.writeStorageTracker(kSafariLocalStorageFolder, {"http_b.example_0", "http_c.example_0"});
    platform.refuseOverwrite.insert(stuck);

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {}), 2);
    EXPECT_TRUE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_b.example_0.localstorage"));
    EXPECT_FALSE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_c.example_0.localstorage"));
    EXPECT_EQ(rows(tracker, "SELECT origin FROM Origins;"), Names{"http_b.example_0"});
}

TEST_F(WebStorageSweepTest, ChromeVisitsEveryProfileAndTakesJournalsAlong) {
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    std::string index = stores.writeDatabases(kChromeDefault + "/databases", DatabasesFormat::Chromium,
                                              {{"https_www.example.com_0"}, {"chrome-extension_abc_0"}});
    stores.writeLocalStorage(kChromeDefault + "/Local Storage", "https_www.example.com_0");
    stores.writeLocalStorage(kChromeDefault + "/Local Storage", "http_other.example_0");
    stores.writeLocalStorage(kChromeWork + "/Local Storage", "http_nojournal.example_0", false);
    stores.writeLocalStorage(kChromeWork + "/Local Storage", "chrome-extension_abc_0", false);

    // 1 database, 1 file in Default; the journal-less file and the extension
    // file (spared for Chromium only) in Profile 1.
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Google Chrome", {"example.com"}), 4);
    EXPECT_EQ(origins(index), Names{"chrome-extension_abc_0"});
    EXPECT_FALSE(home.exists(kChromeDefault + "/databases/https_www.example.com_0"));
    EXPECT_TRUE(home.exists(kChromeDefault + "/Local Storage/https_www.example.com_0.localstorage-journal"));
    EXPECT_FALSE(home.exists(kChromeDefault + "/Local Storage/http_other.example_0.localstorage"));
    EXPECT_FALSE(home.exists(kChromeDefault + "/Local Storage/http_other.example_0.localstorage-journal"));
    EXPECT_FALSE(home.exists(kChromeWork + "/Local Storage/http_nojournal.example_0.localstorage"));
    EXPECT_FALSE(home.exists(kChromeWork + "/Local Storage/chrome-extension_abc_0.localstorage"));
    EXPECT_TRUE(removedAny("http_nojournal.example_0.localstorage-journal")) << "the companion is tried all the same";
}

TEST_F(WebStorageSweepTest, ChromiumSparesExtensionStorageAndEmptyProfileMapDoesNothing) {
    std::string chromiumProfile = std::string(testing::kChromiumRoot) + "/Default";
    home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}});
    stores.writeLocalStorage(chromiumProfile + "/Local Storage", "chrome-extension_abc_0");
    stores.writeLocalStorage(chromiumProfile + "/Local Storage", "http_x.example_0");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Chromium", {}), 1);
    EXPECT_TRUE(home.exists(chromiumProfile + "/Local Storage/chrome-extension_abc_0.localstorage"));

    home.writeLocalState(testing::kChromeRoot, {});
    stores.writeLocalStorage(kChromeDefault + "/Local Storage", "http_x.example_0");
    platform.removed.clear();
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Google Chrome", {}), 0);
    EXPECT_TRUE(platform.removed.empty());
}

TEST_F(WebStorageSweepTest, OperaUsesItsBaseFolder) {
    std::string base = testing::kOperaRoot;
    std::string index = stores.writeDatabases(base + "/databases", DatabasesFormat::Chromium, {{"http_x.example_0"}});
    stores.writeLocalStorage(base + "/Local Storage", "chrome-extension_abc_0");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Opera", {}), 2);
    EXPECT_TRUE(origins(index).empty());
    EXPECT_FALSE(home.exists(base + "/Local Storage/chrome-extension_abc_0.localstorage-journal"));
}

TEST_F(WebStorageSweepTest, CaminoDeletesRowsOfUnkeptScopesAndCountsEachKey) {
    stores.writeWebappsstore(testing::kCaminoWebappsstore, {{"moc.elpmaxe.www.:http:80", "a"},
                                                           {"gro.elpmaxe.:http:80", "a"},
                                                           {"gro.elpmaxe.:http:80", "b"},
                                                           {"moc.elpmaxe.www", "a"}});
    platform.setBool("secureDeleteData", true);
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {"example.com"}), 2);
    EXPECT_EQ(scopes(testing::kCaminoWebappsstore), (Names{"moc.elpmaxe.www", "moc.elpmaxe.www.:http:80"}));
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_TRUE(platform.overwritten.empty());
    EXPECT_TRUE(home.exists(testing::kCaminoWebappsstore));
}

TEST_F(WebStorageSweepTest, NothingChosenStillDeletesRowsOfTheEmptyName) {
    stores.writeWebappsstore(testing::kCaminoWebappsstore, {{"moc.elpmaxe.www"}, {""}});
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {}), 0);
    EXPECT_EQ(scopes(testing::kCaminoWebappsstore), Names{"moc.elpmaxe.www"});
}

TEST_F(WebStorageSweepTest, FirefoxScopeListCarriesOverFromProfileToProfile) {
    std::string profiles = kFirefoxProfilesRoot;
    stores.writeWebappsstore(profiles + "/one.default/webappsstore.sqlite", {{"gro.elpmaxe.:http:80"}});
    stores.writeWebappsstore(profiles + "/two.work/webappsstore.sqlite", {{"ten.elpmaxe.:http:80"}});
    home.makeFolder(profiles + "/empty.profile");
    home.writeFile(profiles + "/profiles.ini", "[General]\n");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Firefox", {}), 3);
    EXPECT_TRUE(scopes(profiles + "/one.default/webappsstore.sqlite").empty());
    EXPECT_TRUE(scopes(profiles + "/two.work/webappsstore.sqlite").empty());
    EXPECT_FALSE(home.exists(profiles + "/empty.profile/webappsstore.sqlite")) << "no store is created";
}

TEST_F(WebStorageSweepTest, FirefoxSkipsALinkToAProfile) {
    std::string profiles = kFirefoxProfilesRoot;
    stores.writeWebappsstore("elsewhere/webappsstore.sqlite", {{"gro.elpmaxe.:http:80"}});
    home.makeFolder(profiles);
    ASSERT_EQ(symlink(home.path("elsewhere").c_str(), home.path(profiles + "/linked").c_str()), 0);
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Firefox", {}), 0);
    EXPECT_EQ(scopes("elsewhere/webappsstore.sqlite").size(), 1u);
}

TEST_F(WebStorageSweepTest, QuotedNamesFailTheirStatementButFilesStillGo) {
    std::string index = stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari,
                                              {{"http_o'brien.example_0"}, {"http_b.example_0"}});
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_it's.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_o'kept.example_0", false);
    std::string tracker = stores.writeStorageTracker(kSafariLocalStorageFolder, {"http_gone.example_0"});
    std::string store = stores.writeWebappsstore(testing::kCaminoWebappsstore,
                                                 {{"moc.s'tae.:http:80"}, {"gro.elpmaxe.:http:80"}});

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"o'kept.example"}), 3);
    EXPECT_FALSE(home.exists(std::string(kSafariDatabasesFolder) + "/http_o'brien.example_0"));
    EXPECT_FALSE(home.exists(std::string(kSafariDatabasesFolder) + "/http_b.example_0"));
    EXPECT_EQ(origins(index).size(), 2u) << "the delete statements failed";
    EXPECT_FALSE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_it's.example_0.localstorage"));
    EXPECT_TRUE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_o'kept.example_0.localstorage"));
    EXPECT_EQ(rows(tracker, "SELECT origin FROM Origins;"), Names{"http_gone.example_0"})
        << "the surviving file's quote fails the tracker statement too";

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {}), 2);
    EXPECT_EQ(scopes(testing::kCaminoWebappsstore).size(), 2u);
}

TEST_F(WebStorageSweepTest, BrokenIndexDatabasesDoNotStopTheSweep) {
    std::string localStorage = kChromeDefault + "/Local Storage";
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}});
    stores.writeLocalStorage(localStorage, "http_x.example_0");

    // Corrupt: not a database at all.
    home.writeFile(kChromeDefault + "/databases/Databases.db", std::string(4096, 'x'));
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Google Chrome", {}), 1);
    EXPECT_FALSE(home.exists(localStorage + "/http_x.example_0.localstorage"));

    // A database without the expected tables; the Safari tracker alike.
    std::filesystem::remove(home.path(kChromeDefault + "/databases/Databases.db"));
    stores.writeWebappsstore(kChromeDefault + "/databases/Databases.db", {});
    stores.writeLocalStorage(localStorage, "http_y.example_0");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Google Chrome", {}), 1);
    EXPECT_FALSE(home.exists(localStorage + "/http_y.example_0.localstorage"));

    home.writeFile(std::string(kSafariLocalStorageFolder) + "/StorageTracker.db", "garbage");
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_z.example_0", false);
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {}), 1);
    EXPECT_FALSE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_z.example_0.localstorage"));
}

TEST_F(WebStorageSweepTest, LockedIndexIsSkippedAndTheRestRuns) {
    std::string index = stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari, {{"http_x.example_0"}});
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_y.example_0", false);
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(index.c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE;", nullptr, nullptr, nullptr), SQLITE_OK);

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {}), 1);
    EXPECT_TRUE(home.exists(std::string(kSafariDatabasesFolder) + "/http_x.example_0"));
    EXPECT_FALSE(home.exists(std::string(kSafariLocalStorageFolder) + "/http_y.example_0.localstorage"));

    sqlite3_exec(holder, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(holder);
    EXPECT_EQ(origins(index), Names{"http_x.example_0"});
}

}  // namespace
}  // namespace tasselby
