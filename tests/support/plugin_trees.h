#pragma once

#include <optional>
#include <string>

#include "support/sample_home.h"

namespace tasselby::testing {

// The system-wide Flash player's folders, relative to a home.
inline constexpr const char* kFlashPlayerRoot = "Library/Preferences/Macromedia/Flash Player";
inline constexpr const char* kFlashSharedObjects = "Library/Preferences/Macromedia/Flash Player/#SharedObjects";
inline constexpr const char* kFlashSettings =
    "Library/Preferences/Macromedia/Flash Player/macromedia.com/support/flashplayer/sys";
// The Silverlight plug-in's folder and its isolated storage, relative to a home.
inline constexpr const char* kSilverlightRoot = "Library/Application Support/Microsoft/Silverlight";
inline constexpr const char* kSilverlightStorage = "Library/Application Support/Microsoft/Silverlight/is";

// A Flash player's shared objects and per-site settings under one root: the
// system-wide player's, or a browser profile's built-in player's. Every
// method writes real ".sol" files and answers the relative path of the item
// a cleaner disposes of.
class FlashTree {
public:
    static FlashTree systemPlayer(const SampleHome& home);
    // The built-in player of a profile of browserRoot (kChromeRoot, ...); its
    // settings live in the settings-domain folder of the random folder "4TVF7XJR".
    static FlashTree pepper(const SampleHome& home, const std::string& browserRoot, const std::string& profile);

    // "#SharedObjects/<random>/<host>", holding a stored object.
    std::string addSharedObject(const std::string& randomFolder, const std::string& host) const;
    // "sys/#<host>", holding the site's settings.
    std::string addSiteSettings(const std::string& host) const;
    // "sys/<group>/<host>" for a group folder named "##...".
    std::string addGroupedSettings(const std::string& group, const std::string& host) const;
    // "sys/settings.sol", the player's global settings.
    std::string addGlobalSettings() const;

    const std::string& sharedObjects() const { return sharedObjects_; }
    const std::string& settings() const { return settings_; }

private:
    FlashTree(const SampleHome& home, std::string sharedObjects, std::string settings);
    std::string writeSol(const std::string& folder, const std::string& name) const;

    const SampleHome& home_;
    std::string sharedObjects_;
    std::string settings_;
};

// Silverlight isolated storage: stores under "is/<level1>/<level2>/<level3>/s"
// and their group folders under ".../g".
class SilverlightTree {
public:
    explicit SilverlightTree(const SampleHome& home) : home_(home) {}

    struct Store {
        std::string store;  // relative path of the store folder
        std::string group;  // relative path of its group folder ("" without one)
    };

    // A store whose "id.dat" holds identity and whose "group.dat" names the
    // group folder, which is made beside it; nothing for either leaves the
    // file out. levels is "<level1>/<level2>/<level3>".
    Store addStore(const std::string& levels, const std::string& storeName,
                   const std::optional<std::string>& identity, const std::optional<std::string>& group) const;

private:
    const SampleHome& home_;
};

// Adds realistic Flash (system player, and built-in player data in the Chrome
// profiles "Default" and "Profile 1") and Silverlight trees, every store
// naming its site.
void addSamplePluginTrees(const SampleHome& home);

}  // namespace tasselby::testing
