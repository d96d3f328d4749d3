#include <gtest/gtest.h>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/password_stores.h"
#include "support/web_storage_stores.h"

namespace tasselby::testing {
namespace {

using Names = std::vector<std::string>;

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

// A run with notifications on and the keep list of the saved passwords.
WorkerResult runWorker(WorkerRun& run, const std::string& browser) {
    run.home().writeSuitePreferences({{kDisplayNotifications, true}});
    WorkerResult result = run.run({browser});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    return result;
}

const std::string kScopesLeft = "SELECT scope FROM webappsstore2;";

// Each browser's sweep is checked against the cleaner directly; these runs
// show the keep list and the count reaching it through the whole worker.
TEST(WebStorage, SafariTrackerFollowsTheFilesLeftAfterOneKeptAndOneRemoved) {
    WorkerRun run;
    run.withKeyring({savedLogin("a.example")});
    WebStorageStores stores(run.home());
    stores.writeDatabases(kSafariDatabasesFolder, DatabasesFormat::Safari, {{"http_a.example_0"}});
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_a.example_0", false);
    stores.writeLocalStorage(kSafariLocalStorageFolder, "http_b.example_0", false);
    std::string tracker =
        stores.writeStorageTracker(kSafariLocalStorageFolder, {"http_a.example_0", "http_b.example_0", "http_c.example_0"});

    WorkerResult result = runWorker(run, kSafari);
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
    WorkerResult result = runWorker(run, kFirefox);
    EXPECT_EQ(databasesReported(result), 3);
    EXPECT_EQ(column(run.home(), first, kScopesLeft), Names{"moc.elpmaxe.a.:https:443"});
    EXPECT_TRUE(column(run.home(), second, kScopesLeft).empty());
}

}  // namespace
}  // namespace tasselby::testing
