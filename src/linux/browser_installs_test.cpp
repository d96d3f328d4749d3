#include "linux/browser_installs.h"

#include <gtest/gtest.h>

#include "base/names.h"
#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

std::vector<std::string> userDataOf(const std::vector<BrowserInstall>& installs) {
    std::vector<std::string> folders;
    for (const BrowserInstall& install : installs) folders.push_back(install.userData);
    return folders;
}

// Native installs follow the XDG roots; Snap and Flatpak stay in the home.
TEST(BrowserInstalls, NativeRowsFollowTheXdgRootsSandboxedRowsTheHome) {
    LinuxRoots roots{"/h", "/x/conf", "/x/cache"};
    std::vector<BrowserInstall> chromium = BrowserInstalls::all(roots, kChromium);
    ASSERT_EQ(chromium.size(), 3u);
    EXPECT_EQ(chromium[0].userData, "/x/conf/chromium");
    EXPECT_EQ(chromium[0].cacheRoot, "/x/cache/chromium");
    EXPECT_EQ(chromium[1].userData, "/h/snap/chromium/common/chromium");
    EXPECT_EQ(chromium[1].cacheRoot, "/h/snap/chromium/common/.cache/chromium");
    EXPECT_EQ(chromium[2].userData, "/h/.var/app/org.chromium.Chromium/config/chromium");

    std::vector<BrowserInstall> firefox = BrowserInstalls::all(LinuxRoots::inHome("/h"), kFirefox);
    EXPECT_EQ(userDataOf(firefox),
              (std::vector<std::string>{"/h/.mozilla/firefox", "/h/.config/mozilla/firefox",
                                        "/h/snap/firefox/common/.mozilla/firefox",
                                        "/h/.var/app/org.mozilla.firefox/.mozilla/firefox"}));
    EXPECT_EQ(firefox[1].cacheRoot, "/h/.cache/mozilla/firefox");
    EXPECT_EQ(firefox[0].family, BrowserFamily::Firefox);
}

TEST(BrowserInstalls, NamesOfEachLayout) {
    for (const char* name : {kGoogleChrome, kChromium, kBrave, kMicrosoftEdge, kVivaldi, kOpera, kFirefox}) {
        EXPECT_TRUE(BrowserInstalls::isBrowser(name)) << name;
        EXPECT_FALSE(BrowserInstalls::isMacOSOnlyBrowser(name)) << name;
        EXPECT_FALSE(BrowserInstalls::all(LinuxRoots::inHome("/h"), name).empty()) << name;
        EXPECT_EQ(BrowserInstalls::familyOf(name),
                  std::string(name) == kFirefox ? BrowserFamily::Firefox : BrowserFamily::Chromium);
    }
    for (const char* name : {kSafari, kWebKit, kCamino}) {
        EXPECT_FALSE(BrowserInstalls::isBrowser(name)) << name;
        EXPECT_TRUE(BrowserInstalls::isMacOSOnlyBrowser(name)) << name;
    }
    EXPECT_FALSE(BrowserInstalls::isBrowser("chromium"));
}

TEST(BrowserInstalls, OnlyExistingUserDataFoldersAreInstalls) {
    testing::TemporaryFolder home;
    testing::SampleHome files(home.path());
    files.makeFolder(".config/google-chrome-beta");
    files.makeFolder(".var/app/com.google.Chrome/config/google-chrome");
    files.writeFile(".config/google-chrome", "a file, not a folder");
    FakePlatform platform(home.path());
    EXPECT_EQ(userDataOf(BrowserInstalls::existing(platform, LinuxRoots::inHome(home.path()), kGoogleChrome)),
              (std::vector<std::string>{home / ".config/google-chrome-beta",
                                        home / ".var/app/com.google.Chrome/config/google-chrome"}));
}

}  // namespace
}  // namespace tasselby
