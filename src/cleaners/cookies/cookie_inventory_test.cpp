#include <filesystem>
#include <set>

#include "support/cookie_fixture.h"

namespace tasselby::testing {
namespace {

// The names of the cookies chosen, sorted. A row is found among the cookies
// of its single store by its identifying value: the creation time (Chromium)
// or id (Mozilla) that the fixture makes from each cookie's position.
std::vector<std::string> recordNames(const CookieInventory& inventory,
                                     const std::vector<StoredCookie>& stored = exampleCookies()) {
    std::vector<std::string> names;
    for (const HttpCookie& cookie : inventory.storedCookies) names.push_back(cookie.name);
    for (const CookieRow& row : inventory.rows) {
        for (std::size_t i = 0; i < stored.size(); ++i) {
            const std::string_view key = row.key().value_or("");
            if (key == std::to_string(chromiumCreationTime(i)) || key == std::to_string(i + 1)) {
                names.push_back(stored[i].name.value_or("NULL"));
            }
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
        EXPECT_EQ(all.rows.size() + all.storedCookies.size(), 15u) << browser;
        EXPECT_EQ(exampleStoreNames(browser).size(), 15u) << browser << ": the inventory changes nothing";
    }
    // Rows keep the host and the identifying value, integers as decimal text.
    CookieInventory chrome = delegate.cookies(kGoogleChrome, {});
    EXPECT_EQ(chrome.rows.front().host(), ".news.example.net");
    EXPECT_EQ(chrome.rows.front().key(), std::to_string(chromiumCreationTime(0)));
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
    EXPECT_EQ(inventory.rows.size(), 1u);
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
    ASSERT_EQ(inventory.rows.size(), 2u);
    EXPECT_EQ(std::set<std::string_view>({inventory.rows[0].host(), inventory.rows[1].host()}),
              std::set<std::string_view>({".a.com", ".b.com"}));
}

TEST_F(CookieInventoryTest, HostsThatNameNoSiteAreLeftOut) {
    const std::vector<StoredCookie> cookies = {
        {std::nullopt, "NID"}, {"^abc", "NID"}, {"file:///Users/a", "UID"}, {".a.com", std::nullopt}, {".b.com", "UID"}};
    writeMozillaCookies(home.path(kCaminoCookies), MozillaCookieSchema::Version2, cookies);
    CookieInventory inventory = delegate.cookies(kCamino, {});
    EXPECT_EQ(inventory.cookieCount, 3);
    EXPECT_EQ(inventory.trackingCount, 1);
    EXPECT_EQ(recordNames(inventory, cookies), (std::vector<std::string>{"NULL", "UID"}));
}

TEST_F(CookieInventoryTest, WebKitAndUnknownNamesReadNothing) {
    for (const char* browser : kCookieBrowsers) placeExample(browser);
    for (const char* browser : {kWebKit, "safari", "Netscape"}) {
        CookieInventory none = delegate.cookies(browser, {});
        EXPECT_EQ(none.cookieCount, 0) << browser;
        EXPECT_EQ(none.trackingCount, 0) << browser;
        EXPECT_TRUE(none.rows.empty() && none.storedCookies.empty()) << browser;
    }
}

}  // namespace
}  // namespace tasselby::testing
