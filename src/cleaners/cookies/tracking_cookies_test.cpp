#include "cleaners/cookies/tracking_cookies.h"

#include <gtest/gtest.h>

#include <set>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"

namespace tasselby {
namespace {

std::vector<std::string> catalogue() {
    FakePlatform platform("/nonexistent");
    return WorkerAppDelegate(platform).defaultTrackingCookies();
}

TEST(TrackingCookies, CatalogueHoldsTheEntriesInTheirOrder) {
    std::vector<std::string> entries = catalogue();
    ASSERT_EQ(entries.size(), 122u);
    EXPECT_EQ(entries.front(), "_em_");
    EXPECT_EQ(entries[6], "OAX");
    EXPECT_EQ(entries[13], "OA");
    EXPECT_EQ(entries[33], ".ASPXANONYMOUS");
    EXPECT_EQ(entries[58], "goo");
    EXPECT_EQ(entries[60], "etcnt_");
    EXPECT_EQ(entries[115], "ID");
    EXPECT_EQ(entries.back(), "km");

    const std::string& sixty = entries[59];
    EXPECT_EQ(sixty.size(), 6u);
    for (char letter : sixty) EXPECT_TRUE(letter >= 'a' && letter <= 'z') << sixty;

    EXPECT_EQ(std::set<std::string>(entries.begin(), entries.end()).size(), entries.size()) << "duplicate entry";
    size_t twoLetter = 0;
    for (const std::string& entry : entries) {
        EXPECT_GE(entry.size(), 2u) << entry;
        EXPECT_LE(entry.size(), 17u) << entry;
        if (entry.size() == 2) ++twoLetter;
    }
    EXPECT_EQ(twoLetter, 21u);
    EXPECT_EQ(catalogue(), entries);
}

struct NameCase {
    std::optional<std::string> name;
    bool tracking;
};

TEST(TrackingCookies, NamesMatchByCaseSensitivePrefix) {
    const std::vector<NameCase> cases = {
        {"NID", true},         {"NIDX", true},       {"NID_2", true},       {"nid", false},
        {"XNID", false},       {"IDE", true},        {"ID_token", true},    {"_cookie", true},
        {"OAX1", true},        {"", false},          {std::nullopt, false}, {".ASPXANONYMOUS", true},
        {"ASPXANONYMOUS", false}, {"__utmz", true},  {"prefs", false},      {"BBC-UID", true},
        {"adsession", true},   {"Ad", false},        {"session", false},    {"km", true},
        {"k", false},          {"scorecardresearch_x", true}, {"scorecard", false},
    };
    std::vector<std::string> entries = catalogue();
    for (const NameCase& test : cases) {
        EXPECT_EQ(isTrackingCookieName(test.name, entries), test.tracking) << test.name.value_or("(null)");
    }
    std::string sixty = entries[59];
    EXPECT_TRUE(isTrackingCookieName(sixty + "_visit", entries));
}

}  // namespace
}  // namespace tasselby
