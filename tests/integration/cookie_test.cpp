#include <gtest/gtest.h>

#include "base/names.h"
#include "integration/worker_run.h"
#include "platform/binary_cookie_file.h"
#include "support/cookie_stores.h"
#include "support/lock_holder.h"

namespace tasselby::testing {
namespace {

constexpr const char* kExampleCounts = "15 Cookies (5 Tracking Cookies),";

const std::vector<KeychainItem> kExamplePasswords = {{"www.kept.com", "form", "https", "alice", ""},
                                                     {"login.favourite.org", "form", "https", "alice", ""}};

std::string profileFile(const char* root, const std::string& profile, const std::string& file) {
    return std::string(root) + "/" + profile + "/" + file;
}

std::vector<std::string> cookieNames(const SampleHome& home, const std::string& relative) {
    return queryColumn(home.path(relative), "SELECT name FROM cookies ORDER BY name");
}

std::vector<std::string> origins(const SampleHome& home, const std::string& relative) {
    return queryColumn(home.path(relative), "SELECT origin FROM origin_bound_certs ORDER BY origin");
}

// The report's beginning: the two cookie counts.
std::string cookieCounts(const WorkerResult& result) {
    if (result.notifications.size() != 1) return "(" + std::to_string(result.notifications.size()) + " notifications)";
    const std::string& body = result.notifications.front().body;
    return body.substr(0, body.find(',') + 1);
}

class CookieRun : public ::testing::Test {
protected:
    void SetUp() override { home.writeSuitePreferences({{kDisplayNotifications, true}}); }

    WorkerRun run;
    SampleHome& home = run.home();
};

// What each browser's cookie cleaning removes and counts, damaged stores and
// quotes included, is checked against the cleaners directly; these runs show
// the keyring's keep list and the counts reaching the shared cookie file
// through the whole worker, and a lock held by another process.
TEST_F(CookieRun, SafariRewritesTheCookieFileWithoutTheRemovedCookies) {
    std::vector<BinaryCookie> cookies;
    for (const StoredCookie& stored : exampleCookies()) cookies.emplace_back(*stored.host, *stored.name);
    std::vector<BinaryCookie> first(cookies.begin(), cookies.begin() + 8), second(cookies.begin() + 8, cookies.end());
    home.writeFile(kBinaryCookieFile, BinaryCookieFileBuilder().page(first).page(second).bytes());

    WorkerResult result = run.withKeyring(kExamplePasswords).run({kSafari});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(cookieCounts(result), kExampleCounts);
    std::string expected = BinaryCookieFileBuilder()
                               .page({{".kept.com", "prefs"}, {"www.favourite.org", "lang"}, {"shop.kept.com", "cart"}})
                               .bytes();
    EXPECT_EQ(home.read(kBinaryCookieFile), expected);
}

TEST_F(CookieRun, LockedOrBrokenProfileDoesNotStopTheOthers) {
    home.writeSuitePreferences({{kDisplayNotifications, true}, {kRemoveAll, true}});
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}, {"Profile 2", "Old"}});
    for (const char* profile : {"Default", "Profile 1"}) {
        writeChromiumCookies(home.path(profileFile(kChromeRoot, profile, "Cookies")), ChromiumCookieSchema::Version20,
                             exampleCookies());
        writeOriginBoundCerts(home.path(profileFile(kChromeRoot, profile, "Origin Bound Certs")), {"kept.com"});
    }
    std::string garbage(2048, '\x5a');
    home.writeFile(profileFile(kChromeRoot, "Profile 2", "Cookies"), garbage);

    WorkerResult result;
    {
        LockHolder chrome(home.path(profileFile(kChromeRoot, "Default", "Cookies")));
        result = run.run({kGoogleChrome});
    }

    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(cookieCounts(result), "20 Cookies (5 Tracking Cookies),") << "only the unlocked profile was read";
    std::string locked = home.path(profileFile(kChromeRoot, "Default", "Cookies"));
    EXPECT_EQ(queryColumn(locked, "PRAGMA integrity_check"), std::vector<std::string>{"ok"});
    EXPECT_EQ(queryColumn(locked, "SELECT name FROM cookies").size(), 15u);
    EXPECT_TRUE(cookieNames(home, profileFile(kChromeRoot, "Profile 1", "Cookies")).empty());
    EXPECT_TRUE(origins(home, profileFile(kChromeRoot, "Profile 1", "Origin Bound Certs")).empty());
    EXPECT_EQ(home.read(profileFile(kChromeRoot, "Profile 2", "Cookies")), garbage);
}

}  // namespace
}  // namespace tasselby::testing
