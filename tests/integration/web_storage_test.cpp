#include <gtest/gtest.h>

#include <algorithm>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/password_stores.h"
#include "support/web_storage_stores.h"

namespace tasselby::testing {
namespace {

using Names = std::vector<std::string>;

const std::string kChromeDefault = std::string(kChromeRoot) + "/Default";
const std::string kChromiumDefault = std::string(kChromiumRoot) + "/Default";
const std::string kFirefoxProfile = std::string(kFirefoxProfilesRoot) + "/sample.default";
constexpr const char* kChromeExtension = "chrome-extension_abcdefghijklmnop_0";
constexpr const char* kSafariExtension = "safari-extension_com.example.ext-0123456789_0";

// The "Databases" figure of the one report posted; -1 when there is none.
long databasesReported(const WorkerResult& result) {
    if (result.notifications.size() != 1) return -1;
    const std::string& body = result.notifications.front().body;
    // "..., N Databases, ...": the figure stands between ", " and the label.
    std::size_t label = body.find(" Databases");
    std::size_t start = label == std::string::npos ? label : body.rfind(", ", label);
    if (start == std::string::npos) return -1;
    return std::stol(body.substr(start + 2, label - start - 2));
}

Names column(const SampleHome& home, const std::string& database, const std::string& sql) {
    return WebStorageStores(home).column(database, sql).value_or(Names{"<query failed>"});
}

KeychainItem savedLogin(const std::string& server) {
    KeychainItem item;
    item.server = server;
    return item;
}

// A run with notifications on; the keep list comes from the keyring unless
// everything is to go.
WorkerResult runWorker(WorkerRun& run, const std::string& browser, bool removeAll) {
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kRemoveAll, removeAll}});
    WorkerResult result = run.run({browser});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    return result;
}

struct BrowserCase {
    const char* browser;
    long databases;
    std::string gone;      // an item the sweep removes
    std::string left;      // an item it leaves
    std::string database;  // a store whose remaining names are checked
    std::string query;
    Names remaining;
};

void PrintTo(const BrowserCase& browserCase, std::ostream* out) { *out << browserCase.browser; }

class WebStorageByBrowser : public ::testing::TestWithParam<BrowserCase> {};

TEST_P(WebStorageByBrowser, SampleHomeLosesEveryUnkeptName) {
    const BrowserCase& c = GetParam();
    WorkerRun run;
    WebStorageStores(run.home()).writeSample();
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    run.home().writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});

    WorkerResult result = runWorker(run, c.browser, true);
    EXPECT_EQ(databasesReported(result), c.databases);
    if (!c.gone.empty()) {
        EXPECT_FALSE(run.home().exists(c.gone)) << c.gone;
    }
    EXPECT_TRUE(run.home().exists(c.left)) << c.left;
    EXPECT_EQ(column(run.home(), c.database, c.query), c.remaining);
}

const std::string kOriginsLeft = "SELECT origin FROM Databases ORDER BY origin;";
const std::string kScopesLeft = "SELECT scope FROM webappsstore2;";

INSTANTIATE_TEST_SUITE_P(
    WebStorage, WebStorageByBrowser,
    ::testing::Values(
        BrowserCase{kSafari, 6, std::string(kSafariLocalStorageFolder) + "/https_www.example.com_0.localstorage",
                    std::string(kSafariDatabasesFolder) + "/" + kSafariExtension,
                    std::string(kSafariLocalStorageFolder) + "/StorageTracker.db", "SELECT origin FROM Origins;", {}},
        BrowserCase{kGoogleChrome, 6, kChromeDefault + "/Local Storage/http_tracker.example.net_0.localstorage-journal",
                    kChromeDefault + "/databases/" + kChromeExtension, kChromeDefault + "/databases/Databases.db",
                    kOriginsLeft, {kChromeExtension}},
        BrowserCase{kChromium, 5, kChromiumDefault + "/databases/https_www.example.com_0",
                    kChromiumDefault + "/Local Storage/" + kChromeExtension + ".localstorage",
                    kChromiumDefault + "/databases/Databases.db", kOriginsLeft, {kChromeExtension}},
        BrowserCase{kOpera, 6, std::string(kOperaRoot) + "/Local Storage/" + kChromeExtension + ".localstorage",
                    std::string(kOperaRoot) + "/databases/" + kChromeExtension,
                    std::string(kOperaRoot) + "/databases/Databases.db", kOriginsLeft, {kChromeExtension}},
        BrowserCase{kCamino, 4, "", kCaminoWebappsstore, kCaminoWebappsstore, kScopesLeft, {}},
        BrowserCase{kFirefox, 4, "", kFirefoxProfile + "/webappsstore.sqlite", kFirefoxProfile + "/webappsstore.sqlite",
                    kScopesLeft, {}},
        BrowserCase{kWebKit, 0, "", std::string(kSafariLocalStorageFolder) + "/https_www.example.com_0.localstorage",
                    kCaminoWebappsstore, "SELECT count(*) FROM webappsstore2;", {"4"}}),
    [](const ::testing::TestParamInfo<BrowserCase>& browserCase) {
        std::string name = browserCase.param.browser;
        name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
        return name;
    });

TEST(WebStorage, SafariTrackerFollowsTheFilesLeftAfterOneKeptAndOneRemoved) {
    WorkerRun run;
    run.withKeyring({savedLogin("a.example")});
    WebStorageStores stores(run.home());
    stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari, {{"http_a.example_0"}});
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_a.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_b.example_0", false);
    std::string tracker =
        stores.writeStorageTracker(kSafariLocalStorageFolder, {"http_a.example_0", "http_b.example_0", "http_c.example_0"});

    WorkerResult result = runWorker(run, kSafari, false);
    EXPECT_EQ(databasesReported(result), 2);
    EXPECT_FALSE(run.home().exists(std::string(kSafariDatabasesFolder) + "/http_a.example_0"));
    EXPECT_TRUE(run.home().exists(std::string(kSafariLocalStorageFolder) + "/http_a.example_0.localstorage"));
    EXPECT_FALSE(run.home().exists(std::string(kSafariLocalStorageFolder) + "/http_b.example_0.localstorage"));
    EXPECT_EQ(column(run.home(), tracker, "SELECT origin FROM Origins;"), Names{"http_a.example_0"});
}

TEST(WebStorage, FirefoxCountsEarlierProfilesScopesAgainInLaterOnes) {
    WorkerRun run;
    WebStorageStores stores(run.home());
    std::string one = std::string(kFirefoxProfilesRoot) + "/one.default";
    std::string two = std::string(kFirefoxProfilesRoot) + "/two.work";
    writeFirefoxLogins(run.home(), "one.default", {"https://www.a.example.com"});
    std::string first = stores.writeWebappsstore(one + "/webappsstore.sqlite",
                                                 {{"moc.elpmaxe.a.:https:443"}, {"gro.elpmaxe.:http:80"}});
    std::string second = stores.writeWebappsstore(two + "/webappsstore.sqlite", {{"ten.elpmaxe.:http:80"}});

    // One unkept scope per profile; whichever profile comes second sees both.
    WorkerResult result = runWorker(run, kFirefox, false);
    EXPECT_EQ(databasesReported(result), 3);
    EXPECT_EQ(column(run.home(), first, kScopesLeft), Names{"moc.elpmaxe.a.:https:443"});
    EXPECT_TRUE(column(run.home(), second, kScopesLeft).empty());
}

TEST(WebStorage, ChromeFileWithoutJournalIsRemovedAndCounted) {
    WorkerRun run;
    run.withKeyring({savedLogin("www.example.com")});
    WebStorageStores stores(run.home());
    run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    stores.writeLocalStorage(kChromeDefault + "/Local Storage", "https_www.example.com_0");
    stores.writeLocalStorage(kChromeDefault + "/Local Storage", "http_lonely.example_0", false);

    WorkerResult result = runWorker(run, kGoogleChrome, false);
    EXPECT_EQ(databasesReported(result), 1);
    EXPECT_FALSE(run.home().exists(kChromeDefault + "/Local Storage/http_lonely.example_0.localstorage"));
    EXPECT_TRUE(run.home().exists(kChromeDefault + "/Local Storage/https_www.example.com_0.localstorage"));
    EXPECT_TRUE(run.home().exists(kChromeDefault + "/Local Storage/https_www.example.com_0.localstorage-journal"));
}

TEST(WebStorage, QuotesAndBrokenIndexesLeaveTheRunWhole) {
    WorkerRun run;
    WebStorageStores stores(run.home());
    run.home().writeFile(std::string(kSafariDatabasesFolder) + "/Databases.db", "not a database");
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_o'brien.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_plain.example_0", false);
    // A tracker without its table.
    stores.writeWebappsstore(std::string(kSafariLocalStorageFolder) + "/StorageTracker.db", {});

    WorkerResult result = runWorker(run, kSafari, true);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(databasesReported(result), 2);
    EXPECT_FALSE(run.home().exists(std::string(kSafariLocalStorageFolder) + "/http_o'brien.example_0.localstorage"));
    EXPECT_FALSE(run.home().exists(std::string(kSafariLocalStorageFolder) + "/http_plain.example_0.localstorage"));
    EXPECT_EQ(run.home().read(std::string(kSafariDatabasesFolder) + "/Databases.db"), "not a database");
}

}  // namespace
}  // namespace tasselby::testing
