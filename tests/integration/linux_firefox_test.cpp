#include <gtest/gtest.h>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/cookie_stores.h"
#include "support/firefox_stores.h"
#include "support/lock_holder.h"

namespace tasselby::testing {
namespace {

constexpr const char* kLinuxLayout = "--layout=linux";

// Two roots of one home: the classic one with a profile Firefox holds, the
// XDG one with a profile to clean.
TEST(LinuxFirefoxRun, AHeldProfileIsUntouchedTheOtherIsCleanedAndTheRunSaysTryAgainLater) {
    WorkerRun run;
    SampleHome& home = run.home();
    writeProfilesIni(home.path(".mozilla/firefox"), {{"held.default"}});
    writeProfilesIni(home.path(".config/mozilla/firefox"), {{"free.default"}});
    for (const char* profile : {".mozilla/firefox/held.default", ".config/mozilla/firefox/free.default"}) {
        writeLoginsJson(home.path(profile), {"https://alpha.localhost"});
        home.writeFile(std::string(profile) + "/key4.db", "key database");
        writeFirefoxCookies(home.path(std::string(profile) + "/cookies.sqlite"),
                            {{"alpha.localhost", "session", ""}, {"beta.localhost", "session", ""}});
        writeOriginStorage(home.path(profile), "http+++beta.localhost+18765");
    }
    const std::string logins = home.read(".config/mozilla/firefox/free.default/logins.json");
    const std::string heldCookies = home.read(".mozilla/firefox/held.default/cookies.sqlite");
    home.writeFile(".cache/mozilla/firefox/free.default/cache2/entries/0A1B", "cached");

    LockHolder firefox(home.path(".mozilla/firefox/held.default/.parentlock"));
    WorkerResult result = run.run({kLinuxLayout, kFirefox});
    EXPECT_EQ(result.exitStatus, 75);
    EXPECT_EQ(result.standardError, "tasselby-worker: skipped Profile .mozilla/firefox/held.default: running browser\n");
    EXPECT_EQ(home.read(".mozilla/firefox/held.default/cookies.sqlite"), heldCookies);
    EXPECT_TRUE(home.exists(".mozilla/firefox/held.default/storage/default/http+++beta.localhost+18765"));
    EXPECT_EQ(queryColumn(home.path(".config/mozilla/firefox/free.default/cookies.sqlite"),
                          "SELECT host FROM moz_cookies"),
              std::vector<std::string>{"alpha.localhost"});
    EXPECT_FALSE(home.exists(".config/mozilla/firefox/free.default/storage/default/http+++beta.localhost+18765"));
    EXPECT_FALSE(home.exists(".cache/mozilla/firefox/free.default/cache2"));
    EXPECT_EQ(home.read(".config/mozilla/firefox/free.default/logins.json"), logins);
    EXPECT_EQ(home.read(".config/mozilla/firefox/free.default/key4.db"), "key database");
}

}  // namespace
}  // namespace tasselby::testing
