#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "support/delegate_fixture.h"
#include "support/password_stores.h"
#include "support/web_storage_stores.h"

namespace tasselby {
namespace {

using testing::DatabasesFormat;
using testing::kCaminoWebappsstore;
using Names = std::vector<std::string>;

const std::string kDatabases = testing::kSafariDatabasesFolder;
const std::string kLocalStorage = testing::kSafariLocalStorageFolder;
const std::string kChromeWork = std::string(testing::kChromeRoot) + "/Profile 1";
const std::string kProfiles = testing::kFirefoxProfilesRoot;

class WebStorageSweepTest : public testing::DelegateTest {
protected:
    testing::WebStorageStores stores{home};

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

// The sample's stores with nothing kept: names the run never passes touch
// nothing; each browser's sweep counts its own stores' unkept names (the
// extension storage spared for Chromium alone among the Chromium family).
TEST_F(WebStorageSweepTest, EveryBrowserSweepsItsOwnStoresOfTheSample) {
    stores.writeSample();
    const std::string chromeFile = kChromeWork + "/Local Storage/http_tracker.example.net_0.localstorage";
    home.writeFile(chromeFile + "-wal", "x");
    home.writeFile(chromeFile + "-shm", "x");
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}});
    for (const char* browser : {"WebKit", "Chrome", "safari", "Internet Explorer"}) {
        EXPECT_EQ(delegate.removeNonFavLocalStorage(browser, {}), 0) << browser;
    }
    EXPECT_TRUE(platform.removed.empty());
    const std::pair<const char*, long> counts[] = {{"Safari", 6}, {"Google Chrome", 12}, {"Chromium", 5},
                                                   {"Opera", 6},  {"Camino", 4},        {"Firefox", 4}};
    for (const auto& [browser, count] : counts) {
        EXPECT_EQ(delegate.removeNonFavLocalStorage(browser, {}), count) << browser;
    }
    const std::string extension = "chrome-extension_abcdefghijklmnop_0";
    // Safari's index loses the rows in both its tables, its folders go.
    const Names safariExtension = {"safari-extension_com.example.ext-0123456789_0"};
    EXPECT_EQ(origins(kDatabases + "/Databases.db"), safariExtension);
    EXPECT_EQ(origins(kDatabases + "/Databases.db", "Origins"), safariExtension);
    EXPECT_FALSE(exists(kDatabases, "http_tracker.example.net_0"));
    EXPECT_TRUE(exists(kDatabases, safariExtension[0]));
    EXPECT_EQ(origins(std::string(testing::kOperaRoot) + "/databases/Databases.db"), Names{extension});
    EXPECT_TRUE(exists(std::string(testing::kChromiumRoot) + "/Default/Local Storage", extension + ".localstorage"));
    EXPECT_FALSE(exists(std::string(testing::kOperaRoot) + "/Local Storage", extension + ".localstorage"));
    // The Chromium family's companions go with their file: the journal, the
    // write-ahead log and its index.
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) EXPECT_FALSE(home.exists(chromeFile + suffix)) << suffix;
    EXPECT_TRUE(scopes(kCaminoWebappsstore).empty());
    EXPECT_TRUE(scopes(kProfiles + "/sample.default/webappsstore.sqlite").empty());
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

// Only real folders count as profiles, and a profile without a store gets
// none; each profile deletes and counts the unkept scopes of those before it
// again, so whichever comes second counts both profiles' scopes.
TEST_F(WebStorageSweepTest, FirefoxVisitsProfileFoldersOnly) {
    const std::string one = kProfiles + "/one.default/webappsstore.sqlite";
    const std::string two = kProfiles + "/two.work/webappsstore.sqlite";
    stores.writeWebappsstore(one, {{"gro.elpmaxe.:http:80"}});
    stores.writeWebappsstore(two, {{"ten.elpmaxe.:http:80"}, {"moc.elpmaxe.a.:https:443"}});
    stores.writeWebappsstore("elsewhere/webappsstore.sqlite", {{"ten.elpmaxe.:http:80"}});
    ASSERT_EQ(symlink(home.path("elsewhere").c_str(), home.path(kProfiles + "/linked").c_str()), 0);
    home.makeFolder(kProfiles + "/empty.profile");
    home.writeFile(kProfiles + "/profiles.ini", "[General]\n");
    EXPECT_EQ(delegate.removeNonFavLocalStorage("Firefox", {"example.com"}), 3);
    EXPECT_TRUE(scopes(one).empty());
    EXPECT_EQ(scopes(two), Names{"moc.elpmaxe.a.:https:443"});
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
