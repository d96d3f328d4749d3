#include <algorithm>
#include <filesystem>

#include "app/names.h"
#include "cleaners/cookies/cookie_test_fixture.h"

namespace tasselby::testing {
namespace {

std::vector<std::string> recordNames(const CookieInventory& inventory) {
    std::vector<std::string> names;
    for (const CookieRecord& record : inventory.removalList) {
        if (const auto* cookie = std::get_if<HttpCookie>(&record)) {
            names.push_back(cookie->name);
        } else {
            const SqlValue& name = std::get<SqlRow>(record).at("name");
            names.push_back(sqlText(name) != nullptr ? *sqlText(name) : "NULL");
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

const std::vector<std::string> kExampleRemoved = {"IDE",     "NID",    "UID_x", "__utma", "__utmz", "draft",
                                                  "login",   "quality", "csrf", "session", "theme",  "volume"};

std::vector<std::string> sorted(std::vector<std::string> values) {
    std::sort(values.begin(), values.end());
    return values;
}

using CookieInventoryTest = CookieTest;

TEST_F(CookieInventoryTest, CountsEveryUnkeptAndEveryTrackingCookieBeforeDuplicatesGo) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    writeChromiumCookies(chromeCookies("Default"), ChromiumCookieSchema::Version20, exampleCookies());

    CookieInventory inventory = delegate.cookies(kGoogleChrome, exampleKeptSites());
    EXPECT_EQ(inventory.cookieCount, 15);
    EXPECT_EQ(inventory.trackingCount, 5);
    EXPECT_EQ(recordNames(inventory), sorted(kExampleRemoved));
    EXPECT_EQ(names(chromeCookies("Default")).size(), 15u) << "the inventory changes nothing";

    // Rows carry every column, integers as decimal text.
    const SqlRow& row = std::get<SqlRow>(inventory.removalList.front());
    EXPECT_EQ(row.size(), 19u);
    EXPECT_EQ(row.at("creation_utc").index(), 1u);
}

TEST_F(CookieInventoryTest, EmptyKeepListTakesEveryCookieThatNamesASite) {
    home.writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});
    writeChromiumCookies(home.path(std::string(kChromiumRoot) + "/Default/Cookies"), ChromiumCookieSchema::Version4,
                         exampleCookies());
    CookieInventory inventory = delegate.cookies(kChromium, {});
    EXPECT_EQ(inventory.cookieCount, 20);
    EXPECT_EQ(inventory.trackingCount, 5);
    EXPECT_EQ(inventory.removalList.size(), 15u);
}

TEST_F(CookieInventoryTest, RowsEqualInEveryColumnAreOneRecord) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}, {"Profile 2", "Gone"}});
    writeChromiumCookies(chromeCookies("Default"), ChromiumCookieSchema::Version20, {{".a.com", "NID"}});
    writeChromiumCookies(chromeCookies("Profile 1"), ChromiumCookieSchema::Version20, {{".a.com", "NID"}});
    CookieInventory inventory = delegate.cookies(kGoogleChrome, {});
    EXPECT_EQ(inventory.cookieCount, 4);
    EXPECT_EQ(inventory.trackingCount, 2);
    EXPECT_EQ(inventory.removalList.size(), 1u);
}

TEST_F(CookieInventoryTest, UnreadableProfilesAreSkippedAndTheOthersRead) {
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}, {"Profile 2", "Empty"}});
    home.writeFile(chromeCookies("Default"), "not a database at all, just some text that is long enough");
    writeChromiumCookies(chromeCookies("Profile 1"), ChromiumCookieSchema::Version4, {{".a.com", "x"}});
    home.makeFolder(std::string(kChromeRoot) + "/Profile 2");
    CookieInventory inventory = delegate.cookies(kGoogleChrome, {});
    EXPECT_EQ(inventory.cookieCount, 1);
    EXPECT_EQ(home.read(chromeCookies("Default")), "not a database at all, just some text that is long enough");
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

TEST_F(CookieInventoryTest, OperaReadsItsOneDatabase) {
    writeChromiumCookies(home.path(std::string(kOperaRoot) + "/Cookies"), ChromiumCookieSchema::Version4,
                         exampleCookies());
    CookieInventory inventory = delegate.cookies(kOpera, exampleKeptSites());
    EXPECT_EQ(inventory.cookieCount, 15);
    EXPECT_EQ(inventory.removalList.size(), 12u);
}

TEST_F(CookieInventoryTest, SafariReadsTheSharedStorageAndWebKitNothing) {
    storeExampleInSharedStorage();
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
    writeChromiumCookies(chromeCookies("Default"), ChromiumCookieSchema::Version20, exampleCookies());

    CookieInventory safari = delegate.cookies(kSafari, exampleKeptSites());
    EXPECT_EQ(safari.cookieCount, 15);
    EXPECT_EQ(safari.trackingCount, 5);
    EXPECT_EQ(recordNames(safari), sorted(kExampleRemoved));

    for (const char* browser : {kWebKit, "safari", "Netscape"}) {
        CookieInventory none = delegate.cookies(browser, {});
        EXPECT_EQ(none.cookieCount, 0) << browser;
        EXPECT_EQ(none.trackingCount, 0) << browser;
        EXPECT_TRUE(none.removalList.empty()) << browser;
    }
}

}  // namespace
}  // namespace tasselby::testing
