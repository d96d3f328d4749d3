#include "cleaners/cookies/tracking_cookies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
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
    const std::pair<std::size_t, const char*> anchors[] = {
        {0, "_em_"}, {6, "OAX"},    {13, "OA"}, {33, ".ASPXANONYMOUS"},
        {58, "goo"}, {60, "etcnt_"}, {115, "ID"}, {121, "km"},
    };
    for (const auto& [position, entry] : anchors) EXPECT_EQ(entries[position], entry) << position;
    const std::string& sixty = entries[59];
    EXPECT_TRUE(sixty.size() == 6 && std::all_of(sixty.begin(), sixty.end(), ::islower)) << sixty;
    EXPECT_EQ(std::set<std::string>(entries.begin(), entries.end()).size(), entries.size()) << "duplicate entry";
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](const std::string& e) { return e.size() == 2; }), 21);
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
