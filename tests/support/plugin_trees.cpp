#include "support/plugin_trees.h"

#include <cstdint>
#include <utility>

namespace tasselby::testing {

namespace {

constexpr const char* kPepperSharedObjects = "Pepper Data/Shockwave Flash/WritableRoot/#SharedObjects";
constexpr const char* kSettingsPath = "macromedia.com/support/flashplayer/sys";

// The cleaners never read a shared object, so any bytes stand for one.
std::string solBytes(const std::string& objectName) { return "TCSO " + objectName; }

}  // namespace

FlashTree::FlashTree(const SampleHome& home, std::string sharedObjects, std::string settings)
    : home_(home), sharedObjects_(std::move(sharedObjects)), settings_(std::move(settings)) {}

FlashTree FlashTree::systemPlayer(const SampleHome& home) { return {home, kFlashSharedObjects, kFlashSettings}; }

FlashTree FlashTree::pepper(const SampleHome& home, const std::string& browserRoot, const std::string& profile) {
    std::string sharedObjects = browserRoot + "/" + profile + "/" + kPepperSharedObjects;
    return {home, sharedObjects, sharedObjects + "/4TVF7XJR/" + kSettingsPath};
}

std::string FlashTree::writeSol(const std::string& folder, const std::string& name) const {
    home_.writeFile(folder + "/" + name + ".sol", solBytes(name));
    return folder;
}

std::string FlashTree::addSharedObject(const std::string& randomFolder, const std::string& host) const {
    return writeSol(sharedObjects_ + "/" + randomFolder + "/" + host, "player/DataStore");
}

std::string FlashTree::addSiteSettings(const std::string& host) const {
    return writeSol(settings_ + "/#" + host, "settings");
}

std::string FlashTree::addGroupedSettings(const std::string& group, const std::string& host) const {
    return writeSol(settings_ + "/" + group + "/" + host, "settings");
}

std::string FlashTree::addGlobalSettings() const {
    std::string file = settings_ + "/settings.sol";
    home_.writeFile(file, solBytes("settings"));
    return file;
}

SilverlightTree::Store SilverlightTree::addStore(const std::string& levels, const std::string& storeName,
                                                 const std::optional<std::string>& identity,
                                                 const std::optional<std::string>& group) const {
    std::string level3 = std::string(kSilverlightStorage) + "/" + levels;
    Store made{level3 + "/s/" + storeName, ""};
    home_.writeFile(made.store + "/f/AppData.xml", "<settings/>");
    if (identity) home_.writeFile(made.store + "/id.dat", *identity);
    if (group) {
        home_.writeFile(made.store + "/group.dat", *group);
        made.group = level3 + "/g/" + *group;
        home_.writeFile(made.group + "/quota.dat", "1048576");
        home_.writeFile(made.group + "/used.dat", "2048");
    }
    return made;
}

void addSamplePluginTrees(const SampleHome& home) {
    FlashTree player = FlashTree::systemPlayer(home);
    player.addGlobalSettings();
    player.addSharedObject("RZXX9SFB", "www.chase.com");
    player.addSharedObject("RZXX9SFB", "video.example.org");
    player.addSharedObject("4PRPYGAV", "chase.com");
    player.addSiteSettings("www.nbc.com");
    player.addSiteSettings("127.0.0.1");
    player.addGroupedSettings("##", "mogulus-system.s3.amazonaws.com");

    for (const char* profile : {"Default", "Profile 1"}) {
        FlashTree pepper = FlashTree::pepper(home, kChromeRoot, profile);
        pepper.addGlobalSettings();
        pepper.addSharedObject("4TVF7XJR", "www.youtube.com");
        pepper.addSiteSettings("127.0.0.1");
    }

    SilverlightTree silverlight(home);
    silverlight.addStore("ekrkqr54.wnr/tx5hm2dm.szm/1", "5y2lu35ideijonura3bs1rinntito5zrrijuwcxv1cbmj5dgw0aaagga",
                         "http://www.netflix.com/silverlight/player.xap", "a3j8dkqpwz0mnbv4");
    silverlight.addStore("ekrkqr54.wnr/tx5hm2dm.szm/1", "kq2k0alwx9d0mrbz2n4f8hkkc1lqa0wd0e3y6upzjvgabyp0aaagga",
                         "www.example.co.uk", "q8mz2lx0vb7nc3ks");
}

}  // namespace tasselby::testing
