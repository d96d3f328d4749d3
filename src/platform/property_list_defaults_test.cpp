#include "platform/property_list_defaults.h"

#include <gtest/gtest.h>

#include "base/names.h"
#include "platform/linux_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::PlistFormat;
using testing::PreferenceValue;
using testing::SampleHome;

constexpr const char* kKey = "displayNotifications";

class PropertyListDefaultsTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    SampleHome home{folder.path()};

    // The worker's lookup order: its own domain, then the suite.
    bool read() {
        PropertyListDefaults defaults(home.path("Library/Preferences"));
        defaults.addDomain(kWorkerDomain);
        defaults.addDomain(kSuiteName);
        return defaults.boolForKey(kKey);
    }
    std::string suiteFile() const { return "Library/Preferences/" + std::string(kSuiteName) + ".plist"; }
};

struct ValueCase {
    const char* name;
    PreferenceValue value;
    bool yes;
};

TEST_F(PropertyListDefaultsTest, OnlyTrueAndIntegerOneReadYesInBothFormats) {
    const ValueCase cases[] = {
        {"true", PreferenceValue::boolean(true), true},   {"false", PreferenceValue::boolean(false), false},
        {"1", PreferenceValue::integer(1), true},         {"0", PreferenceValue::integer(0), false},
        {"2", PreferenceValue::integer(2), false},        {"-1", PreferenceValue::integer(-1), false},
        {"string YES", PreferenceValue::string("YES"), false}, {"string 1", PreferenceValue::string("1"), false},
    };
    for (PlistFormat format : {PlistFormat::Binary, PlistFormat::Xml}) {
        for (const ValueCase& each : cases) {
            home.writePreferences(kSuiteName, {{kKey, each.value}}, format);
            EXPECT_EQ(read(), each.yes) << each.name << (format == PlistFormat::Xml ? " in XML" : " in binary");
        }
    }
}

TEST_F(PropertyListDefaultsTest, MissingOrUnreadableFilesReadNo) {
    EXPECT_FALSE(read()) << "no property list at all";
    home.writePreferences(kSuiteName, {{kKey, PreferenceValue::boolean(true)}});
    std::string valid = home.read(suiteFile());
    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"garbage", "this is not a property list"},
        {"truncated binary", valid.substr(0, valid.size() / 2)},
        {"XML without a dictionary", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><true/></array></plist>"},
    };
    for (const auto& [name, contents] : cases) {
        home.writeFile(suiteFile(), contents);
        EXPECT_FALSE(read()) << name;
    }
    std::filesystem::remove(home.path(suiteFile()));
    home.makeFolder(suiteFile());
    EXPECT_FALSE(read()) << "a folder in place of the file";
}

// The worker's domain comes first: a key it lacks is the suite's, while a key
// it holds answers whatever the value's type.
TEST_F(PropertyListDefaultsTest, FirstDomainHoldingTheKeyAnswers) {
    home.writePreferences(kSuiteName, {{kKey, PreferenceValue::boolean(true)}});
    home.writePreferences(kWorkerDomain, {{"removeAll", PreferenceValue::boolean(true)}});
    EXPECT_TRUE(read());
    home.writePreferences(kWorkerDomain, {{kKey, PreferenceValue::string("no")}});
    EXPECT_FALSE(read());
    home.writeFile("Library/Preferences/" + std::string(kWorkerDomain) + ".plist", "garbage");
    EXPECT_TRUE(read()) << "an unreadable domain holds no key";
}

}  // namespace
}  // namespace tasselby
