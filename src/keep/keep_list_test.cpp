#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/run_stopped.h"
#include "support/delegate_fixture.h"
#include "support/password_stores.h"

namespace tasselby {
namespace {

using testing::kFirefoxProfilesRoot;

KeepList sorted(KeepList list) {
    std::sort(list.begin(), list.end());
    return list;
}

using KeepListTest = testing::DelegateTest;

TEST_F(KeepListTest, KeychainKeepsFormPasswordSitesOnce) {
    auto form = [](const char* server) { return KeychainAttributes{{"srvr", server}, {"atyp", "form"}}; };
    platform.keychainItems = {
        form("www.example.com"), form("mail.example.com"), form("news.example.co.uk"), form("printer.local"),
        form("localhost"), form("www.localhost"), form("a.b.certificate"), form("file:///Users/a/page.html"),
        form("^abc"), {{"srvr", "example.org"}, {"atyp", "http"}}, {{"srvr", "example.net"}},
        {{"atyp", "form"}, {"acct", "alice"}}, {{"srvr", "shop.example.info"}, {"atyp", "Form"}},
    };
    EXPECT_EQ(sorted(delegate.getSmartFavouritesArray()), (KeepList{"example.co.uk", "example.com"}));
    ASSERT_EQ(platform.keychainQueries.size(), 1u);
    EXPECT_TRUE(platform.keychainQueries.front().matchLimitAll);
}

TEST_F(KeepListTest, FailedSearchKeepsNothingUnlessSavedPasswordsAreUnreadable) {
    // Saved passwords that are there but unreadable stop the run: a partial or
    // empty list would remove the data of sites the user keeps.
    const struct {
        std::int32_t status;
        bool stops;
    } kCases[] = {{kErrSecNotAvailable, false}, {kErrSecInteractionNotAllowed, true}, {kErrSecDataNotAvailable, true}};
    platform.keychainItems = {{{"srvr", "www.example.com"}, {"atyp", "form"}}};
    for (const auto& [status, stops] : kCases) {
        platform.keychainStatus = status;
        if (stops) {
            EXPECT_THROW(delegate.getSmartFavouritesArray(), RunDeferred) << status;
        } else {
            EXPECT_TRUE(delegate.getSmartFavouritesArray().empty()) << status;
        }
    }
    platform.keychainStatus = kErrSecSuccess;
    platform.keychainItems.clear();
    EXPECT_TRUE(delegate.getSmartFavouritesArray().empty());
    EXPECT_TRUE(delegate.getFirefoxSmartFavouritesArray().empty());
}

TEST_F(KeepListTest, FirefoxKeepsLoginSitesOfEveryProfileOnce) {
    testing::writeFirefoxLogins(home, "a1b2.default", {"https://www.example.com", "https://mail.example.com",
                                                        "http://printer.local", "https://example.com"});
    testing::writeFirefoxLogins(home, "c3d4.work", {"https://www.example.com", "https://news.example.co.uk"});
    // No filter on local names here, and the scheme stays part of the first label.
    EXPECT_EQ(sorted(delegate.getFirefoxSmartFavouritesArray()),
              (KeepList{"example.co.uk", "example.com", "http://printer.local", "https://example.com"}));
    EXPECT_TRUE(platform.keychainQueries.empty());
}

TEST_F(KeepListTest, FirefoxSkipsLinkedFilesAndUnreadableProfiles) {
    testing::writeFirefoxLogins(home, "good", {"https://www.example.com"});
    // A profile reached through a link is not read.
    testing::TemporaryFolder elsewhere{"tasselby-elsewhere"};
    testing::SampleHome other{elsewhere.path()};
    testing::writeFirefoxLogins(other, "linked", {"https://www.linked.org"});
    std::filesystem::create_directory_symlink(other.path(std::string(kFirefoxProfilesRoot) + "/linked"),
                                              home.path(std::string(kFirefoxProfilesRoot) + "/linked"));
    testing::writeFirefoxSignonsWithoutLogins(home, "damaged");
    home.makeFolder(std::string(kFirefoxProfilesRoot) + "/empty");
    home.writeFile(std::string(kFirefoxProfilesRoot) + "/profiles.ini", "[General]\n");
    home.writeFile(std::string(kFirefoxProfilesRoot) + "/garbage/signons.sqlite", "not a database at all\n");

    EXPECT_EQ(delegate.getFirefoxSmartFavouritesArray(), KeepList{"example.com"});
    EXPECT_FALSE(home.exists(std::string(kFirefoxProfilesRoot) + "/empty/signons.sqlite"))
        << "a missing store is not created by opening it";
}

TEST_F(KeepListTest, RunBuildsTheListFromTheBrowsersOwnSource) {
    // A Chrome run's cleaners need the browser's list of profiles.
    home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}});
    for (const char* browser : {"Safari", "Google Chrome", "Opera", "WebKit", "Firefox"}) {
        platform.keychainQueries.clear();
        EXPECT_THROW(delegate.clearData(browser), FakePlatform::Terminated);
        EXPECT_EQ(platform.keychainQueries.size(), std::string(browser) == "Firefox" ? 0u : 1u) << browser;
    }
}

}  // namespace
}  // namespace tasselby
