#include "linux/firefox_logins.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

using Hosts = std::vector<std::string>;

TEST(FirefoxLoginsTest, WebHostnamesOfSavedLogins) {
    const std::string text = R"({"nextId":5,"logins":[
        {"id":1,"hostname":"https://www.Alpha.example","httpRealm":null,"formSubmitURL":"https://www.alpha.example",
         "encryptedUsername":"MEIEEPgAAAAA","encryptedPassword":"MEIEEPgAAAAB","encType":1},
        {"id":2,"hostname":"chrome://FirefoxAccounts","httpRealm":"Firefox Accounts credentials"},
        {"id":3,"hostname":"http://gamma.localhost:18765","httpRealm":"realm"},
        {"id":4,"hostname":42},
        {"id":5},
        "not a login"],
        "potentiallyVulnerablePasswords":[],"version":3})";
    EXPECT_EQ(FirefoxLogins::hostsOfLoginsJson(text), (Hosts{"www.alpha.example", "gamma.localhost"}));
}

TEST(FirefoxLoginsTest, DamagedFilesNameNoHost) {
    for (const char* text : {"", "{", "{\"logins\":[{\"hostname\":\"https://a.example\"}", "[]", "null",
                             "{\"logins\":{\"hostname\":\"https://a.example\"}}", "\xff\xfe"}) {
        EXPECT_EQ(FirefoxLogins::hostsOfLoginsJson(text), Hosts{}) << text;
    }
}

}  // namespace
}  // namespace tasselby
