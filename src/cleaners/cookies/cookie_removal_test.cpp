#include "support/cookie_fixture.h"

namespace tasselby::testing {
namespace {

using CookieRemovalTest = CookieTest;

const std::vector<std::string> kKeptOrdinary = {"cart", "lang", "prefs"};

TEST_F(CookieRemovalTest, EveryBrowserKeepsOnlyTheKeptSitesOrdinaryCookies) {
    for (const char* browser : kCookieBrowsers) {
        placeExample(browser);
        EXPECT_EQ(delegate.removeCookies(browser, exampleKeptSites()), (std::array<long, 2>{15, 5})) << browser;
        EXPECT_EQ(exampleStoreNames(browser), kKeptOrdinary) << browser;
    }
    EXPECT_EQ(platform.cookieStorage.flushedAfter, std::vector<std::size_t>{12}) << "one write for the batch";
    EXPECT_EQ(queryColumn(chromeCookies("Default"), "SELECT value FROM meta WHERE key = 'version'"),
              std::vector<std::string>{"20"});
}

TEST_F(CookieRemovalTest, EveryProfileGetsTheWholeList) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    writeChromiumCookies(chromeCookies("Default"), ChromiumCookieSchema::Version20, exampleCookies());
    writeChromiumCookies(chromeCookies("Profile 1"), ChromiumCookieSchema::Version4, exampleCookies());
    EXPECT_EQ(delegate.removeCookies(kGoogleChrome, exampleKeptSites()), (std::array<long, 2>{30, 10}));
    EXPECT_EQ(names(chromeCookies("Default")), kKeptOrdinary);
    EXPECT_EQ(names(chromeCookies("Profile 1")), kKeptOrdinary);

    // Row 1 of the first profile is a tracking cookie of a kept site; row 1
    // of the second is an ordinary cookie of the same host. The deletion
    // names host and id only, so it takes both.
    writeMozillaCookies(firefoxCookies("a"), MozillaCookieSchema::Current, {{".kept.com", "__utma"}});
    writeMozillaCookies(firefoxCookies("b"), MozillaCookieSchema::Version4,
                        {{".kept.com", "prefs"}, {".kept.com", "lang"}});
    EXPECT_EQ(delegate.removeCookies(kFirefox, {"kept.com"}), (std::array<long, 2>{1, 1}));
    EXPECT_TRUE(names(firefoxCookies("a"), "moz_cookies").empty());
    EXPECT_EQ(names(firefoxCookies("b"), "moz_cookies"), std::vector<std::string>{"lang"});
}

TEST_F(CookieRemovalTest, QuotesInTheRowsValuesAreDoubled) {
    writeMozillaCookies(firefoxCookies("p"), MozillaCookieSchema::Current,
                        {{"o'neil.example", "session"}, {".o'brien.example.com", "a'b"}, {".kept.com", "prefs"}});
    delegate.removeCookies(kFirefox, {"kept.com"});
    EXPECT_EQ(names(firefoxCookies("p"), "moz_cookies"), std::vector<std::string>{"prefs"});
}

TEST_F(CookieRemovalTest, RecordsWithoutAKeyAreSkipped) {
    std::string camino = home.path(kCaminoCookies);
    home.makeFolder("Library/Application Support/Camino");
    executeSql(camino,
               "CREATE TABLE moz_cookies (id INTEGER, name TEXT, host TEXT);"
               "INSERT INTO moz_cookies VALUES (NULL, 'a', '.gone.com'), (7, 'b', '.gone.com'), (8, 'c', NULL);");
    EXPECT_EQ(delegate.removeCookies(kCamino, {}), (std::array<long, 2>{2, 0}));
    EXPECT_EQ(names(camino, "moz_cookies"), (std::vector<std::string>{"a", "c"}));
}

TEST_F(CookieRemovalTest, SafariWebKitAndUnknownNamesPruneNoCertificates) {
    placeExample(kSafari);
    placeExample(kGoogleChrome);
    writeOriginBoundCerts(chromeCerts("Default"), {"a.com"});
    for (const char* browser : {kWebKit, "Chrome"}) {
        EXPECT_EQ(delegate.removeCookies(browser, {}), (std::array<long, 2>{0, 0})) << browser;
    }
    EXPECT_TRUE(platform.cookieStorage.flushedAfter.empty());
    EXPECT_EQ(exampleStoreNames(kSafari).size(), 15u);
    EXPECT_EQ(names(chromeCookies("Default")).size(), 15u);
    delegate.removeCookies(kSafari, {});
    EXPECT_TRUE(exampleStoreNames(kSafari).empty());
    EXPECT_EQ(queryColumn(chromeCerts("Default"), "SELECT origin FROM origin_bound_certs"),
              std::vector<std::string>{"a.com"});
}

}  // namespace
}  // namespace tasselby::testing
