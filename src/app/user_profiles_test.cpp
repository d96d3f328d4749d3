#include <gtest/gtest.h>

#include "app/run_stopped.h"
#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

using UserProfilesTest = testing::DelegateTest;

// Only an exact "Google Chrome" reads Chrome's file; every other name reads
// Chromium's. Keys that are no plain folder name are no profiles: every
// cleaner takes its profiles from here, so none is led to the browser's
// folders themselves or above them.
TEST_F(UserProfilesTest, ProfilesInFileOrderWithoutNamelessOnes) {
    home.writeLocalState(testing::kChromeRoot, {{"Profile 3", "Work"}, {"Guest", ""}, {"..", "Up"}, {"", "Empty"},
                                                {".", "Here"}, {"/", "Root"}, {"Default/../../..", "Escape"},
                                                {"../../../..", "Home"}, {"Default", "Person 1"}});
    home.writeLocalState(testing::kChromiumRoot, {{"Profile 1", "Chromium person"}});
    EXPECT_EQ(delegate.userProfiles("Google Chrome"), (ProfileMap{{"Profile 3", "Work"}, {"Default", "Person 1"}}));
    for (const char* other : {"Chromium", "Opera", "google chrome"}) {
        EXPECT_EQ(delegate.userProfiles(other), (ProfileMap{{"Profile 1", "Chromium person"}})) << other;
    }
}

TEST_F(UserProfilesTest, UnusableDocumentsGiveAnEmptyMap) {
    for (const char* text : {"", "not json", "[]", "{\"profile\": 3}", "{\"profile\": {}}",
                             "{\"profile\": {\"info_cache\": {}}}", "{\"profile\": {\"info_cache\": {\"A\": 5}}}"}) {
        home.writeFile(std::string(testing::kChromiumRoot) + "/Local State", text);
        EXPECT_TRUE(delegate.userProfiles("Chromium").empty()) << text;
    }
}

// A name that is not text is shown by its kind, never rendered level by level.
TEST_F(UserProfilesTest, NamesThatAreNotTextAreNotRenderedWhole) {
    std::string deep = std::string(200000, '[') + std::string(200000, ']');
    EXPECT_EQ(WorkerAppDelegate::profilesInLocalState(
                  R"({"profile": {"info_cache": {"A": {"name": )" + deep + R"(}, "B": {"name": 7}}}})"),
              (ProfileMap{{"A", "array"}, {"B", "7"}}));
}

TEST_F(UserProfilesTest, MissingLocalStateStopsTheRun) {
    EXPECT_THROW(delegate.userProfiles("Google Chrome"), RunStopped);
    home.writeFile(std::string(testing::kChromiumRoot) + "/Local State", std::string("\xff\xfe{}", 4));
    EXPECT_THROW(delegate.userProfiles("Chromium"), RunStopped);
}

}  // namespace
}  // namespace tasselby
