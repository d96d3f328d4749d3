#include "linux/firefox_storage_origin.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(FirefoxStorageOriginTest, DecodesWebOriginFolders) {
    struct Case {
        std::string name;
        std::string origin;
        std::string host;
        std::string attributes;
    };
    const std::vector<Case> table = {
        {"http+++alpha.localhost+18765", "http://alpha.localhost:18765", "alpha.localhost", ""},
        {"https+++example.com", "https://example.com", "example.com", ""},
        {"https+++example.com+8443^userContextId=1", "https://example.com:8443", "example.com", "^userContextId=1"},
        {"https+++tracker.net^partitionKey=%28https%2Ckept.org%29", "https://tracker.net", "tracker.net",
         "^partitionKey=%28https%2Ckept.org%29"},
        {"http+++[++1]+8080", "http://[::1]:8080", "[::1]", ""},
        {"http+++192.168.0.1+8080", "http://192.168.0.1:8080", "192.168.0.1", ""},
    };
    for (const Case& c : table) {
        std::optional<FirefoxStorageOrigin> decoded = FirefoxStorageOrigin::fromFolderName(c.name);
        ASSERT_TRUE(decoded) << c.name;
        EXPECT_EQ(decoded->origin(), c.origin) << c.name;
        EXPECT_EQ(decoded->host, c.host) << c.name;
        EXPECT_EQ(decoded->attributes, c.attributes) << c.name;
        // Writing the origin back gives the folder name again.
        EXPECT_EQ(FirefoxStorageOrigin::folderName(c.origin + c.attributes), c.name);
    }
}

TEST(FirefoxStorageOriginTest, OtherSchemesAndUnknownFormsAreNotJudged) {
    for (const char* name : {"moz-extension+++0b8c9a2e-4f0c-4d3b-9a51-3d5c2b1a0f9e^userContextId=4294967295",
                             "file++++home+user+page.html", "indexeddb+++fx-devtools", "chrome", "about+home",
                             "ftp+++example.com", "HTTP+++example.com", "https+++", "https+++example.com+",
                             "https+++example.com+80x", "https+++example.com+8443+1", "http+++[++1", "http+++[]",
                             "https+example.com", ""}) {
        EXPECT_FALSE(FirefoxStorageOrigin::fromFolderName(name)) << name;
    }
}

}  // namespace
}  // namespace tasselby
