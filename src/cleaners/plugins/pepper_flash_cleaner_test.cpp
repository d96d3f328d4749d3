#include <gtest/gtest.h>

#include "support/delegate_fixture.h"
#include "support/plugin_trees.h"

namespace tasselby {
namespace {

using testing::FlashTree;
using Counts = std::array<long, 2>;

class PepperFlashCleanerTest : public testing::DelegateTest {
protected:
    void SetUp() override { home.writeLocalState(testing::kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}}); }

    FlashTree first = FlashTree::pepper(home, testing::kChromeRoot, "Default");
    FlashTree second = FlashTree::pepper(home, testing::kChromeRoot, "Profile 1");
};

TEST_F(PepperFlashCleanerTest, OnlyChromeAndChromiumHaveABuiltInPlayer) {
    std::string site = first.addSharedObject("R1", "example.com");
    home.writeLocalState(testing::kChromiumRoot, {{"Default", "Person 1"}});
    for (const char* browser : {"Opera", "Safari", "google chrome", "Firefox"}) {
        EXPECT_FALSE(delegate.clearChromeFlash(browser, {})) << browser;
    }
    EXPECT_TRUE(home.exists(site));
    EXPECT_TRUE(platform.removed.empty());
    EXPECT_EQ(delegate.clearChromeFlash("Chromium", {}), (Counts{0, 0}));
}

// Pairs of profile and host: example.com in each profile, ^nameless, which
// names no site, and the dot-name inside a "##" folder are removed; the kept
// hosts are seen but stay, and a dot-name among the shared objects is not seen.
TEST_F(PepperFlashCleanerTest, AHostCountsOncePerProfileAndEveryCopyGoes) {
    std::vector<std::string> gone{
        first.addSharedObject("R1", "www.example.com"), first.addSharedObject("R2", "example.com"),
        first.addSiteSettings("example.com"),           second.addSharedObject("R3", "example.com"),
        second.addGroupedSettings("##", "www.example.com"), first.addSharedObject("R1", "^nameless"),
        first.addGroupedSettings("##", ".hidden.com"),
    };
    std::vector<std::string> kept{first.addSharedObject("R1", "mail.kept.com"), second.addSiteSettings("www.kept.com"),
                                  first.sharedObjects() + "/R1/.DS_Store"};
    home.writeFile(kept.back(), "x");
    std::string global = first.addGlobalSettings();

    EXPECT_EQ(delegate.clearChromeFlash("Google Chrome", {"kept.com"}), (Counts{6, 4}));
    for (const std::string& path : gone) EXPECT_FALSE(home.exists(path)) << path;
    for (const std::string& path : kept) EXPECT_TRUE(home.exists(path)) << path;
    // The settings-domain folder is only descended into; the "##" folder and
    // the global settings stay.
    EXPECT_TRUE(home.exists(global));
    EXPECT_TRUE(home.exists(second.settings() + "/##"));
}

}  // namespace
}  // namespace tasselby
