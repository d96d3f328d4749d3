#include "linux/chromium_profiles.h"

#include <gtest/gtest.h>

#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

TEST(ChromiumProfiles, LocalStateKeysThatCannotBeFolderNamesAreDropped) {
    struct Case {
        std::string text;
        std::vector<std::string> keys;
    };
    const Case cases[] = {
        {R"({"profile":{"info_cache":{"Profile 2":{},"Default":{}}}})", {"Profile 2", "Default"}},
        {R"({"profile":{"info_cache":{"..":{},".":{},"":{},"a/b":{},"/etc":{},"x\u0000y":{},"ok":{}}}})", {"ok"}},
        {R"({"profile":{"info_cache":[]}})", {}},
        {R"({"profile":"Default"})", {}},
        {R"([1,2])", {}},
        {R"({"profile":{"info_cache":{"Default":{}})", {}},  // cut short
        {"", {}},
    };
    for (const Case& each : cases) EXPECT_EQ(ChromiumProfiles::keysOfLocalState(each.text), each.keys) << each.text;
}

TEST(ChromiumProfiles, FolderNames) {
    for (const char* name : {"Default", "Profile 1", "Profile 27"}) EXPECT_TRUE(ChromiumProfiles::isProfileFolderName(name));
    for (const char* name : {"default", "Profile", "Profile ", "Profile x", "Profile 1a", "System Profile", "Guest Profile"}) {
        EXPECT_FALSE(ChromiumProfiles::isProfileFolderName(name)) << name;
    }
}

TEST(ChromiumProfiles, ListedProfilesThenUnlistedFoldersNeverOutsideTheInstall) {
    testing::TemporaryFolder home;
    testing::SampleHome files(home.path());
    const std::string root = ".config/chromium";
    files.writeLocalState(root, {{"Work", "Work"}, {"..", "climb"}, {"Gone", "missing folder"}, {"Default", "Me"}});
    for (const char* folder : {"Work", "Default", "Profile 3", "Profile 1", "Crashpad"}) files.makeFolder(root + "/" + folder);
    std::filesystem::create_directory_symlink(home / "elsewhere", home / (root + "/Profile 9"));
    FakePlatform platform(home.path());
    BrowserInstall install{"Chromium", BrowserFamily::Chromium, home / root, home / ".cache/chromium"};
    std::vector<BrowserProfile> profiles = ChromiumProfiles::of(platform, install);
    std::vector<std::string> names;
    for (const BrowserProfile& profile : profiles) names.push_back(profile.name);
    EXPECT_EQ(names, (std::vector<std::string>{"Work", "Default", "Profile 1", "Profile 3"}));
    EXPECT_EQ(profiles[0].path, home / (root + "/Work"));
    EXPECT_EQ(profiles[0].cachePath, home / ".cache/chromium/Work");
}

}  // namespace
}  // namespace tasselby
