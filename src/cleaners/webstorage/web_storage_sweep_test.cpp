#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/password_stores.h"
#include "support/sample_home.h"
#include "support/web_storage_stores.h"

namespace tasselby {
namespace {

using testing::DatabasesFormat;
using testing::kCaminoWebappsstore;
using Names = std::vector<std::string>;

const std::string kDatabases = testing::kSafariDatabasesFolder;
const std::string kLocalStorage = testing::kSafariLocalStorageFolder;
const std::string kChromeDefault = std::string(testing::kChromeRoot) + "/Default";
const std::string kChromeWork = std::string(testing::kChromeRoot) + "/Profile 1";
const std::string kProfiles = testing::kFirefoxProfilesRoot;

class WebStorageSweepTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    testing::WebStorageStores stores{home};
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
    bool exists(const std::string& folderPath, const std::string& name) { return home.exists(folderPath + "/" + name); }
};

// Unknown names, and Google Chrome with no profile listed in "Local State".
TEST_F(WebStorageSweepTest, UnservedBrowsersTouchNothing) {
    stores.writeSample();
    home.writeLocalState(testing::kChromeRoot, {});
    for (const char* browser : {"WebKit", "Chrome", "safari", "Internet Explorer", "Google Chrome"}) {
        EXPECT_EQ(delegate.removeNonFavLocalStorage(browser, {}), 0) << browser;
    }
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_EQ(scopes(kCaminoWebappsstore).size(), 4u);
}

TEST_F(WebStorageSweepTest, SafariRemovesEveryWebOriginButExtensionsAndPrunesBothTables) {
    const std::string extension = "safari-extension_com.example.ext-0123456789_0";
    std::string index = stores.writeDatabases(
        kDatabases, DatabasesFormat::Safari,
        {{"https_a.example_0"}, {"http_b.example_0", "one"}, {"http_b.example_0", "two"}, {extension}});
    // Two databases of one origin: named twice, counted twice, removed once.
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"a.example", "b.example"}), 3);
    EXPECT_FALSE(exists(kDatabases, "https_a.example_0"));
    EXPECT_FALSE(exists(kDatabases, "http_b.example_0"));
    EXPECT_TRUE(exists(kDatabases, extension));
    EXPECT_EQ(origins(index), Names{extension});
    EXPECT_EQ(origins(index, "Origins"), Names{extension});
}

// A chosen file's write-ahead log and its index go whatever became of the
// file (one file here fails its overwrite and stays, counted all the same);
// Safari tries no "-journal". The tracker keeps the rows of the files left.
TEST_F(WebStorageSweepTest, SafariTakesWriteAheadLogsAlongAndPrunesTheTracker) {
    platform.setBool("secureDeleteData", true);
    const Names names = {"http_b.example_0", "http_c.example_0", "http_k.example_0"};
    for (const std::string& name : names) {
        stores.writeLocalStorage(kLocalStorage, name, false);
        for (const char* suffix : {"-wal", "-shm"}) home.writeFile(kLocalStorage + "/" + name + ".localstorage" + suffix, "x");
    }
    std::string tracker = stores.writeStorageTracker(kLocalStorage, names);
    std::string stuck = home.path(kLocalStorage + "/http_b.example_0.localstorage");
    platform.refuseOverwrite.insert(stuck);

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"k.example"}), 2);
    EXPECT_TRUE(home.exists(kLocalStorage + "/http_b.example_0.localstorage"));
    for (const char* suffix : {"-wal", "-shm"}) {
        EXPECT_FALSE(exists(kLocalStorage, "http_b.example_0.localstorage" + std::string(suffix)));
        EXPECT_FALSE(exists(kLocalStorage, "http_c.example_0.localstorage" + std::string(suffix)));
        EXPECT_TRUE(exists(kLocalStorage, "http_k.example_0.localstorage" + std::string(suffix)));
    }
    EXPECT_FALSE(exists(kLocalStorage, "http_c.example_0.localstorage"));
    EXPECT_EQ(rows(tracker, "SELECT origin FROM Origins ORDER BY origin;"), (Names{"http_b.example_0", "http_k.example_0"}));
    EXPECT_TRUE(std::none_of(platform.removed.begin(), platform.removed.end(),
                             [](const std::string& path) { return path.ends_with("-journal"); }));
}

TEST_F(WebStorageSweepTest, ChromeVisitsEveryProfileAndTakesJournalsAlong) {
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    std::string index = stores.writeDatabases(kChromeDefault + "/databases", DatabasesFormat::Chromium,
                                              {{"https_www.example.com_0"}, {"chrome-extension_abc_0"}});
    const std::string defaultStorage = kChromeDefault + "/Local Storage";
    const std::string workStorage = kChromeWork + "/Local Storage";
    stores.writeLocalStorage(defaultStorage, "https_www.example.com_0");
    stores.writeLocalStorage(defaultStorage, "http_other.example_0");
    home.writeFile(defaultStorage + "/http_other.example_0.localstorage-wal", "x");
    home.writeFile(defaultStorage + "/http_other.example_0.localstorage-shm", "x");
    stores.writeLocalStorage(workStorage, "http_nojournal.example_0", false);
    stores.writeLocalStorage(workStorage, "chrome-extension_abc_0", false);

    // 1 database, 1 file in Default; the journal-less file and the extension
    // file (spared for Chromium only) in Profile 1.
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Google Chrome", {"example.com"}), 4);
    EXPECT_EQ(origins(index), Names{"chrome-extension_abc_0"});
    EXPECT_FALSE(exists(kChromeDefault + "/databases", "https_www.example.com_0"));
    EXPECT_TRUE(exists(defaultStorage, "https_www.example.com_0.localstorage-journal"));
    EXPECT_FALSE(exists(defaultStorage, "http_other.example_0.localstorage"));
    EXPECT_FALSE(exists(defaultStorage, "http_other.example_0.localstorage-journal"));
    EXPECT_FALSE(exists(defaultStorage, "http_other.example_0.localstorage-wal"));
    EXPECT_FALSE(exists(defaultStorage, "http_other.example_0.localstorage-shm"));
    EXPECT_FALSE(exists(workStorage, "http_nojournal.example_0.localstorage"));
    EXPECT_FALSE(exists(workStorage, "chrome-extension_abc_0.localstorage"));
    EXPECT_EQ(std::count(platform.removed.begin(), platform.removed.end(),
                         home.path(workStorage + "/http_nojournal.example_0.localstorage-journal")),
              1)
        << "the companion is tried all the same";
}

TEST_F(WebStorageSweepTest, ChromiumSparesExtensionStorage) {
    std::string chromiumStorage = std::string(testing::kChromiumRoot) + "/Default/Local Storage";
    home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}});
    stores.writeLocalStorage(chromiumStorage, "chrome-extension_abc_0");
    stores.writeLocalStorage(chromiumStorage, "http_x.example_0");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Chromium", {}), 1);
    EXPECT_TRUE(exists(chromiumStorage, "chrome-extension_abc_0.localstorage"));
}

TEST_F(WebStorageSweepTest, CaminoDeletesRowsOfUnkeptScopesAndCountsEachKey) {
    stores.writeWebappsstore(kCaminoWebappsstore, {{"moc.elpmaxe.www.:http:80", "a"},
                                                   {"gro.elpmaxe.:http:80", "a"},
                                                   {"gro.elpmaxe.:http:80", "b"},
                                                   {"moc.elpmaxe.www", "a"}});
    platform.setBool("secureDeleteData", true);
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {"example.com"}), 2);
    EXPECT_EQ(scopes(kCaminoWebappsstore), (Names{"moc.elpmaxe.www", "moc.elpmaxe.www.:http:80"}));
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_TRUE(platform.overwritten.empty());
}

TEST_F(WebStorageSweepTest, NothingChosenStillDeletesRowsOfTheEmptyName) {
    stores.writeWebappsstore(kCaminoWebappsstore, {{"moc.elpmaxe.www"}, {""}});
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {}), 0);
    EXPECT_EQ(scopes(kCaminoWebappsstore), Names{"moc.elpmaxe.www"});
}

// Only real folders count as profiles, and a profile without a store gets none.
TEST_F(WebStorageSweepTest, FirefoxVisitsProfileFoldersOnly) {
    stores.writeWebappsstore(kProfiles + "/one.default/webappsstore.sqlite", {{"gro.elpmaxe.:http:80"}});
    stores.writeWebappsstore("elsewhere/webappsstore.sqlite", {{"ten.elpmaxe.:http:80"}});
    ASSERT_EQ(symlink(home.path("elsewhere").c_str(), home.path(kProfiles + "/linked").c_str()), 0);
    home.makeFolder(kProfiles + "/empty.profile");
    home.writeFile(kProfiles + "/profiles.ini", "[General]\n");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Firefox", {}), 1);
    EXPECT_TRUE(scopes(kProfiles + "/one.default/webappsstore.sqlite").empty());
    EXPECT_EQ(scopes("elsewhere/webappsstore.sqlite").size(), 1u);
    EXPECT_FALSE(exists(kProfiles + "/empty.profile", "webappsstore.sqlite"));
}

TEST_F(WebStorageSweepTest, QuotedNamesFailTheirStatementButFilesStillGo) {
    std::string index = stores.writeDatabases(kDatabases, DatabasesFormat::Safari,
                                              {{"http_o'brien.example_0"}, {"http_b.example_0"}});
    stores.writeLocalStorage(kLocalStorage, "http_it's.example_0", false);
    stores.writeLocalStorage(kLocalStorage, "http_o'kept.example_0", false);
    std::string tracker = stores.writeStorageTracker(kLocalStorage, {"http_gone.example_0"});
    stores.writeWebappsstore(kCaminoWebappsstore, {{"moc.s'tae.:http:80"}, {"gro.elpmaxe.:http:80"}});

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Safari", {"o'kept.example"}), 3);
    EXPECT_FALSE(exists(kDatabases, "http_o'brien.example_0"));
    EXPECT_FALSE(exists(kDatabases, "http_b.example_0"));
    EXPECT_EQ(origins(index).size(), 2u) << "the delete statements failed";
    EXPECT_FALSE(exists(kLocalStorage, "http_it's.example_0.localstorage"));
    EXPECT_TRUE(exists(kLocalStorage, "http_o'kept.example_0.localstorage"));
    EXPECT_EQ(rows(tracker, "SELECT origin FROM Origins;"), Names{"http_gone.example_0"})
        << "the surviving file's quote fails the tracker statement too";

    EXPECT_EQ(delegate.removeNonFavLocalStorage("Camino", {}), 2);
    EXPECT_EQ(scopes(kCaminoWebappsstore).size(), 2u);
}

}  // namespace
}  // namespace tasselby
