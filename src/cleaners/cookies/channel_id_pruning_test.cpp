#include "support/cookie_fixture.h"

namespace tasselby::testing {
namespace {

using ChannelIdPruningTest = CookieTest;

std::vector<std::string> origins(const std::string& database) {
    return queryColumn(database, "SELECT origin FROM origin_bound_certs ORDER BY origin");
}

TEST_F(ChannelIdPruningTest, OnlyOriginsSpelledExactlyAsAKeptSiteStay) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}, {"Profile 2", "No certs"}});
    for (const char* profile : {"Default", "Profile 1"}) {
        writeOriginBoundCerts(chromeCerts(profile),
                              {"site1.com", "www.site1.com", "https://site2.org", "site2.org", "other.net", ""});
    }
    home.makeFolder(std::string(kChromeRoot) + "/Profile 2");
    delegate.deleteChromeChannelID(kGoogleChrome, {"site1.com", "site2.org", "site1.com"});
    for (const char* profile : {"Default", "Profile 1"}) {
        EXPECT_EQ(origins(chromeCerts(profile)), (std::vector<std::string>{"site1.com", "site2.org"})) << profile;
    }
    EXPECT_FALSE(home.exists(chromeCerts("Profile 2")));
}

TEST_F(ChannelIdPruningTest, OperaOnlyAmongTheOthersAndAnEmptyKeepListSparesOnlyTheEmptyOrigin) {
    std::string opera = home.path(std::string(kOperaRoot) + "/Origin Bound Certs");
    writeOriginBoundCerts(opera, {"a.com", "", "b.org"});
    for (const char* browser : {kSafari, kWebKit, kFirefox, kCamino, "Netscape"}) {
        delegate.deleteChromeChannelID(browser, {});
    }
    EXPECT_EQ(origins(opera).size(), 3u);
    delegate.deleteChromeChannelID(kOpera, {});
    EXPECT_EQ(origins(opera), std::vector<std::string>{""});
}

TEST_F(ChannelIdPruningTest, RunsForChromeEvenWithNothingToRemove) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    writeOriginBoundCerts(chromeCerts("Default"), {"a.com", "kept.com"});
    EXPECT_EQ(delegate.removeCookies(kGoogleChrome, {"kept.com"}), (std::array<long, 2>{0, 0}));
    EXPECT_EQ(origins(chromeCerts("Default")), std::vector<std::string>{"kept.com"});
    // A quote in a kept site fails the one statement: nothing more goes.
    writeOriginBoundCerts(chromeCerts("Default"), {"kept.com", "tracker.net"});
    delegate.deleteChromeChannelID(kGoogleChrome, {"kept.com", "o'neil.com"});
    EXPECT_EQ(origins(chromeCerts("Default")), (std::vector<std::string>{"kept.com", "tracker.net"}));
}

}  // namespace
}  // namespace tasselby::testing
