#include "app/defaults_command.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "base/names.h"
#include "platform/property_list_defaults.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::PlistFormat;
using testing::PreferenceValue;
using testing::SampleHome;

constexpr const char* kMacOSFolder = "Library/Preferences";
constexpr const char* kLinuxFolder = ".config/tasselby";

class DefaultsCommandTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    SampleHome home{folder.path()};
    std::string out, err;

    int run(std::vector<std::string> words, const char* layout = "macos") {
        std::vector<std::string> arguments = {"tasselby-defaults", "--home=" + home.root(),
                                              std::string("--layout=") + layout};
        arguments.insert(arguments.end(), words.begin(), words.end());
        std::ostringstream outStream, errStream;
        int status = DefaultsCommand::run(arguments, outStream, errStream);
        out = outStream.str();
        err = errStream.str();
        return status;
    }
    static std::string suite(const char* folderName) { return std::string(folderName) + "/" + kSuiteName + ".plist"; }
    // What the worker of that layout reads for the key.
    bool workerReads(const char* folderName, const char* key) {
        PropertyListDefaults defaults(home.path(folderName));
        defaults.addDomain(kSuiteName);
        return defaults.boolForKey(key);
    }
    mode_t modeOf(const std::string& relative) {
        struct stat info {};
        return ::stat(home.path(relative).c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
    }
};

TEST_F(DefaultsCommandTest, WriteMakesAPrivateBinaryFileThatTheWorkerOfEachLayoutReads) {
    for (const char* layout : {"macos", "linux"}) {
        const char* place = std::string(layout) == "macos" ? kMacOSFolder : kLinuxFolder;
        ASSERT_EQ(run({"write", kDisplayNotifications, "true"}, layout), 0) << err;
        EXPECT_TRUE(workerReads(place, kDisplayNotifications)) << layout;
        EXPECT_EQ(modeOf(suite(place)), 0600u) << layout;
        EXPECT_EQ(modeOf(place), 0700u) << layout;
        EXPECT_TRUE(home.read(suite(place)).starts_with("bplist00")) << layout;
        ASSERT_EQ(run({"read", kDisplayNotifications}, layout), 0);
        EXPECT_EQ(out, "1\n");
        ASSERT_EQ(run({"write", kDisplayNotifications, "false"}, layout), 0);
        EXPECT_FALSE(workerReads(place, kDisplayNotifications)) << layout;
    }
    EXPECT_FALSE(home.exists(std::string(kMacOSFolder) + "/" + kSuiteName + ".plist.XXXXXX"));
}

TEST_F(DefaultsCommandTest, EditsKeepEveryOtherKeyAndTheFilesFormat) {
    for (PlistFormat format : {PlistFormat::Xml, PlistFormat::Binary}) {
        home.writePreferences(kSuiteName,
                              {{"windowFrame", PreferenceValue::string("0 0 640 480")},
                               {"launchCount", PreferenceValue::integer(7)},
                               {kRemoveAll, PreferenceValue::boolean(true)}},
                              format);
        ::chmod(home.path(suite(kMacOSFolder)).c_str(), 0644);
        ASSERT_EQ(run({"write", kSecureDeleteData, "true"}), 0) << err;
        ASSERT_EQ(run({"delete", kRemoveAll}), 0) << err;
        EXPECT_EQ(home.read(suite(kMacOSFolder)).starts_with("bplist00"), format == PlistFormat::Binary);
        EXPECT_EQ(modeOf(suite(kMacOSFolder)), 0600u);
        ASSERT_EQ(run({"read"}), 0);
        EXPECT_EQ(out, "{\n    launchCount = 7;\n    secureDeleteData = 1;\n    windowFrame = \"0 0 640 480\";\n}\n");
        EXPECT_FALSE(workerReads(kMacOSFolder, kRemoveAll));
    }
}

struct RefusalCase {
    std::vector<std::string> words;
    int status;
    const char* message;  // part of what is printed on standard error
};

TEST_F(DefaultsCommandTest, BadCommandsFailCleanlyAndLeaveTheFileAsItWas) {
    home.writePreferences(kSuiteName, {{kDisplayNotifications, PreferenceValue::boolean(true)}});
    const std::string before = home.read(suite(kMacOSFolder));
    const RefusalCase cases[] = {
        {{"write", "showDock", "true"}, 64, "unknown key showDock"},
        {{"read", "showDock"}, 64, "unknown key showDock"},
        {{"write", kRemoveAll, "yes"}, 64, "must be true or false"},
        {{"write", kRemoveAll}, 64, "wrong number of arguments"},
        {{"delete"}, 64, "wrong number of arguments"},
        {{"rename", kRemoveAll}, 64, "unknown command rename"},
        {{}, 64, "no command given"},
        {{"--force", "write", kRemoveAll, "true"}, 64, "unknown option --force"},
        {{"--layout=windows", "write", kRemoveAll, "true"}, 64, "--layout must be macos or linux"},
        {{"delete", kRemoveAll}, 1, "removeAll is not set"},
        {{"read", kSecureDeleteData}, 1, "secureDeleteData is not set"},
    };
    for (const RefusalCase& each : cases) {
        EXPECT_EQ(run(each.words), each.status) << each.message;
        EXPECT_NE(err.find(each.message), std::string::npos) << err;
        EXPECT_EQ(out, "");
        EXPECT_EQ(home.read(suite(kMacOSFolder)), before) << each.message;
    }
}

TEST_F(DefaultsCommandTest, AFileThatIsNoPropertyListIsNeverReplaced) {
    for (const char* contents : {"not a property list", "<?xml version=\"1.0\"?><plist><array/></plist>"}) {
        home.writeFile(suite(kMacOSFolder), contents);
        EXPECT_EQ(run({"write", kRemoveAll, "true"}), DefaultsCommand::kDataError);
        EXPECT_EQ(home.read(suite(kMacOSFolder)), contents);
    }
    EXPECT_EQ(run({"read"}, "linux"), DefaultsCommand::kNotFound) << "no domain in the other layout";
}

}  // namespace
}  // namespace tasselby
