#include "linux/login_keep_list.h"

#include <gtest/gtest.h>

#include "support/chromium_stores.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

TEST(LoginKeepList, SitesOfLoginUrls) {
    struct Case {
        std::string url;
        std::optional<std::string> site;
    };
    const Case cases[] = {
        {"https://accounts.example.com/", "example.com"},
        {"http://www.shop.example.co.uk:8080/login?next=/", "example.co.uk"},
        {"HTTPS://User:pw@Mail.Example.org/", "example.org"},
        {"https://alpha.localhost:18765/", "alpha.localhost"},
        {"https://example.net#frag", "example.net"},
        {"android://AbC@com.example.app/", std::nullopt},
        {"ftp://example.com/", std::nullopt},
        {"federation://example.com/idp.example", std::nullopt},
        {"https:///path", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& each : cases) EXPECT_EQ(LoginKeepList::siteOfLoginUrl(each.url), each.site) << each.url;
}

TEST(LoginKeepList, SavedPasswordsCountNeverSaveEntriesDoNot) {
    testing::TemporaryFolder folder;
    const std::string path = folder / "Login Data";
    testing::writeLoginData(path, {{"https://alpha.localhost:18765/login", "https://alpha.localhost:18765/"},
                                   {"https://never.example/", "https://never.example/", true},
                                   {"android://key@com.example/", "https://realm.example.org/"},
                                   {"http://beta.example/", "http://beta.example/Basic realm"}});
    std::set<std::string> sites;
    LoginKeepList::addChromiumLogins(path, sites);
    LoginKeepList::addChromiumLogins(folder / "missing", sites);
    testing::SampleHome(folder.path()).writeFile("Login Data For Account", "not a database");
    LoginKeepList::addChromiumLogins(folder / "Login Data For Account", sites);
    EXPECT_EQ(sites, (std::set<std::string>{"alpha.localhost", "example.org", "beta.example"}));
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

}  // namespace
}  // namespace tasselby
