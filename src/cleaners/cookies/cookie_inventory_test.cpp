#include <filesystem>

#include "cleaners/cookies/cookie_test_fixture.h"

namespace tasselby::testing {
namespace {

std::vector<std::string> recordNames(const CookieInventory& inventory) {
    std::vector<std::string> names;
    for (const CookieRecord& record : inventory.removalList) {
        if (const auto* cookie = std::get_if<HttpCookie>(&record)) {
            names.push_back(cookie->name);
        } else {
            const std::string* name = sqlText(std::get<SqlRow>(record).at("name"));
            names.push_back(name != nullptr ? *name : "NULL");
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

using CookieInventoryTest = CookieTest;

TEST_F(CookieInventoryTest, CountsEveryUnkeptAndEveryTrackingCookieBeforeDuplicatesGo) {
    const std::vector<std::string> removed = {"IDE",  "NID",     "UID_x",   "__utma", "__utmz", "csrf",
                                              "draft", "login", "quality", "session", "theme",  "volume"};
    for (const char* browser : kCookieBrowsers) {
        placeExample(browser);
        CookieInventory inventory = delegate.cookies(browser, exampleKeptSites());
        EXPECT_EQ(inventory.cookieCount, 15) << browser;
        EXPECT_EQ(inventory.trackingCount, 5) << browser;
        EXPECT_EQ(recordNames(inventory), removed) << browser;
        // Nothing kept: every cookie goes, and the tracking ones count twice.
        CookieInventory all = delegate.cookies(browser, {});
        EXPECT_EQ(all.cookieCount, 20) << browser;
        EXPECT_EQ(all.trackingCount, 5) << browser;
        EXPECT_EQ(all.removalList.size(), 15u) << browser;
        EXPECT_EQ(exampleStoreNames(browser).size(), 15u) << browser << ": the inventory changes nothing";
    }
    // Rows carry every column, integers as decimal text.
    CookieInventory chrome = delegate.cookies(kGoogleChrome, {});
    const SqlRow& row = std::get<SqlRow>(chrome.removalList.front());
    EXPECT_EQ(row.size(), 19u);
    EXPECT_EQ(row.at("creation_utc").index(), 1u);
}

TEST_F(CookieInventoryTest, RowsEqualInEveryColumnAreOneRecordAndBrokenProfilesAreSkipped) {
    home.writeLocalState(kChromeRoot, {{"Default", "A"}, {"Profile 1", "B"}, {"Profile 2", "C"}, {"Profile 3", "D"}});
    const std::string text = "not a database at all, just some text that is long enough";
    home.writeFile(chromeCookies("Default"), text);
    writeChromiumCookies(chromeCookies("Profile 1"), ChromiumCookieSchema::Version20, {{".a.com", "NID"}});
    writeChromiumCookies(chromeCookies("Profile 2"), ChromiumCookieSchema::Version20, {{".a.com", "NID"}});
    home.makeFolder(std::string(kChromeRoot) + "/Profile 3");
    CookieInventory inventory = delegate.cookies(kGoogleChrome, {});
    EXPECT_EQ(inventory.cookieCount, 4);
    EXPECT_EQ(inventory.trackingCount, 2);
    EXPECT_EQ(inventory.removalList.size(), 1u);
    EXPECT_EQ(home.read(chromeCookies("Default")), text);
}

TEST_F(CookieInventoryTest, FirefoxReadsRealProfileFoldersOnly) {
    writeMozillaCookies(firefoxCookies("abc.default"), MozillaCookieSchema::Current, {{".a.com", "x"}});
    writeMozillaCookies(firefoxCookies("old.profile"), MozillaCookieSchema::Version4, {{".b.com", "NID"}});
    home.makeFolder(std::string(kFirefoxProfiles) + "/no-cookies");
    home.writeFile(std::string(kFirefoxProfiles) + "/profiles.ini", "[General]");
    std::filesystem::create_directory_symlink(home.path(std::string(kFirefoxProfiles) + "/abc.default"),
                                              home.path(std::string(kFirefoxProfiles) + "/linked"));
    CookieInventory inventory = delegate.cookies(kFirefox, {});
    EXPECT_EQ(inventory.cookieCount, 3) << "the link to a profile is not read a second time";
    EXPECT_EQ(recordNames(inventory), (std::vector<std::string>{"NID", "x"}));
}

TEST_F(CookieInventoryTest, HostsThatNameNoSiteAreLeftOut) {
    writeMozillaCookies(home.path(kCaminoCookies), MozillaCookieSchema::Version2,
                        {{std::nullopt, "NID"}, {"^abc", "NID"}, {"file:///Users/a", "UID"}, {".a.com", std::nullopt},
                         {".b.com", "UID"}});
    CookieInventory inventory = delegate.cookies(kCamino, {});
    EXPECT_EQ(inventory.cookieCount, 3);
    EXPECT_EQ(inventory.trackingCount, 1);
    EXPECT_EQ(recordNames(inventory), (std::vector<std::string>{"NULL", "UID"}));
}

TEST_F(CookieInventoryTest, WebKitAndUnknownNamesReadNothing) {
    for (const char* browser : kCookieBrowsers) placeExample(browser);
    for (const char* browser : {kWebKit, "safari", "Netscape"}) {
        CookieInventory none = delegate.cookies(browser, {});
        EXPECT_EQ(none.cookieCount, 0) << browser;
        EXPECT_EQ(none.trackingCount, 0) << browser;
        EXPECT_TRUE(none.removalList.empty()) << browser;
    }
}

}  // namespace
}  // namespace tasselby::testing
