#include "linux/firefox_profiles_ini.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

using Entries = std::vector<FirefoxProfileEntry>;

TEST(FirefoxProfilesIniTest, ListsEveryProfileSectionOnce) {
    const std::string text =
        "[General]\nStartWithLastProfile=1\nVersion=2\n\n"
        "[Profile1]\nName=work\nIsRelative=1\nPath=b2.work\n\n"
        "[Install4F96D1932A9F858E]\nDefault=b2.work\nLocked=1\n\n"
        "[Profile0]\r\nName=rb\r\nIsRelative=0\r\nPath=/srv/profiles/rb/\r\nDefault=1\r\n\r\n"
        "[Profile2]\nPath=a1.default\nIsRelative=1\n"          // Path before IsRelative
        "[Profile3]\nIsRelative=1\nPath=./b2.work\n"           // the same folder again
        "[BackgroundTasksProfiles]\nPath=bt.profile\nIsRelative=1\n";
    EXPECT_EQ(FirefoxProfilesIni::profiles(text, "/h/.mozilla/firefox"),
              (Entries{{"/h/.mozilla/firefox/b2.work", "b2.work"},
                       {"/srv/profiles/rb", std::nullopt},
                       {"/h/.mozilla/firefox/a1.default", "a1.default"}}));
}

TEST(FirefoxProfilesIniTest, PathsOutsideTheRootOrWithoutMeaningAreSkipped) {
    const std::vector<std::pair<std::string, Entries>> table = {
        {"[Profile0]\nIsRelative=1\nPath=../../etc\n", {}},
        {"[Profile0]\nIsRelative=1\nPath=a/../../x\n", {}},
        {"[Profile0]\nIsRelative=1\nPath=a/../b\n", {{"/r/b", "b"}}},
        {"[Profile0]\nIsRelative=1\nPath=.\n", {}},
        {"[Profile0]\nIsRelative=1\nPath=/etc\n", {}},
        {"[Profile0]\nIsRelative=0\nPath=relative.default\n", {}},  // neither absolute nor marked relative
        {"[Profile0]\nPath=/\n", {}},
        {"[Profile0]\nName=no path\nIsRelative=1\n", {}},
        {"[Profile0]\nIsRelative=1\nPath=\n", {}},
        {"; comment\n# comment\n[Profile0\nIsRelative=1\nPath=x\n", {}},  // an unclosed header opens nothing
        {"\x01\xff garbage without sections", {}},
        {"", {}},
    };
    for (const auto& [text, expected] : table) EXPECT_EQ(FirefoxProfilesIni::profiles(text, "/r"), expected) << text;
}

}  // namespace
}  // namespace tasselby
