#include "support/cache_trees.h"

#include <filesystem>

namespace tasselby::testing {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kEntrySize = 700;

// A cache folder with an index and two entries; answers its path.
std::string cacheFolder(const SampleHome& tree, const std::string& relative) {
    tree.writeFile(relative + "/index", std::string(256, 'i'));
    tree.writeFile(relative + "/data_0", std::string(kEntrySize, 'd'));
    tree.writeFile(relative + "/f_000001", std::string(kEntrySize, 'f'));
    return relative;
}

std::string cacheFile(const SampleHome& tree, const std::string& relative) {
    tree.writeFile(relative, std::string(kEntrySize, 'c'));
    return relative;
}

void writeChromiumFamily(const SampleHome& home, const std::string& cacheRoot, const std::string& dataRoot,
                         std::vector<std::string>& items) {
    for (const std::string profile : {"Default", "Profile 1"}) {
        items.push_back(cacheFolder(home, cacheRoot + "/" + profile + "/Cache"));
        items.push_back(cacheFolder(home, dataRoot + "/" + profile + "/Application Cache/Cache"));
        items.push_back(cacheFolder(home, dataRoot + "/" + profile + "/Application Cache/GPUCache"));
        items.push_back(cacheFolder(home, dataRoot + "/" + profile + "/GPUCache"));
    }
    items.push_back(cacheFolder(home, cacheRoot + "/Crashpad"));
    items.push_back(cacheFolder(home, dataRoot + "Pepper Data/Shockwave Flash/CacheWritableAdobeRoot"));
    items.push_back(cacheFolder(home, dataRoot + "/Pepper Data/Shockwave Flash/CacheWritableAdobeRoot"));
}

}  // namespace

std::vector<std::string> writeBrowserCaches(const SampleHome& home) {
    std::vector<std::string> items;
    items.push_back(cacheFile(home, "Library/Caches/com.apple.Safari/Cache.db"));
    items.push_back(cacheFolder(home, "Library/Caches/com.apple.Safari/fsCachedData"));
    items.push_back(cacheFolder(home, "Library/Caches/com.apple.Safari/Webpage Previews"));
    items.push_back(cacheFile(home, "Library/Cookies/Cookies.plist"));
    items.push_back(cacheFile(home, "Library/Cookies/HSTS.plist"));

    items.push_back(cacheFolder(home, "Library/Caches/Camino/Cache"));
    items.push_back(cacheFolder(home, "Library/Caches/Metadata/Camino"));

    const std::string firefox = "Library/Caches/Firefox/Profiles";
    for (const char* cache : {"Cache", "OfflineCache", "startupCache"}) {
        items.push_back(cacheFolder(home, firefox + "/x7q2a9lk.default/" + cache));
    }
    items.push_back(cacheFolder(home, firefox + "/x7q2a9lk.default/safebrowsing"));
    items.push_back(cacheFolder(home, firefox + "/m3n8b1zd.work/Cache"));
    items.push_back(cacheFile(home, firefox + "/profiles.ini"));
    items.push_back(cacheFolder(home, "Library/Caches/Firefox/Elsewhere/Cache"));
    fs::create_directory_symlink(home.path("Library/Caches/Firefox/Elsewhere"), home.path(firefox + "/linked.profile"));
    items.push_back(firefox + "/linked.profile");

    writeChromiumFamily(home, "Library/Caches/Google/Chrome", kChromeRoot, items);
    writeChromiumFamily(home, "Library/Caches/Chromium", kChromiumRoot, items);

    items.push_back(cacheFolder(home, "Library/Caches/com.operasoftware.Opera/Cache"));
    items.push_back(cacheFolder(home, std::string(kOperaRoot) + "/GPUCache"));
    items.push_back(cacheFolder(home, std::string(kOperaRoot) + "/Application Cache/Cache"));
    items.push_back(cacheFolder(home, std::string(kOperaRoot) + "/Application Cache/GPUCache"));
    items.push_back(cacheFolder(home, std::string(kOperaRoot) + "Pepper Data/Shockwave Flash/CacheWritableAdobeRoot"));
    items.push_back(cacheFolder(home, std::string(kOperaRoot) + "/Default/Application Cache"));

    items.push_back(cacheFolder(home, "Library/Caches/Adobe/Flash Player/AssetCache"));
    items.push_back(cacheFolder(home, "Library/Caches/QuickTime/downloads"));
    return items;
}

std::vector<std::string> writeTemporaryFolders(const std::string& root) {
    SampleHome tree(root);
    const std::string user = "private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000";
    std::vector<std::string> items;
    items.push_back(cacheFile(tree, user + "/C/com.apple.Safari/ApplicationCache.db"));
    items.push_back(cacheFile(tree, user + "/C/com.apple.Safari/Cache.db"));
    items.push_back(cacheFolder(tree, user + "/C/MediaCache"));
    items.push_back(cacheFolder(tree, user + "/C/com.apple.WebKit.WebContent+com.apple.Safari/MediaCache"));
    items.push_back(cacheFolder(tree, user + "/C/com.apple.WebKit.WebContent+com.apple.Safari/WebKitCache"));
    items.push_back(cacheFolder(tree, user + "/T/com.apple.WebProcess+com.apple.Safari/MediaCache"));
    items.push_back(cacheFolder(tree, user + "/C/com.example.player/MediaCache"));
    items.push_back(cacheFile(tree, user + "/T/MediaCache"));
    items.push_back(cacheFolder(tree, user + "/MediaCache"));
    items.push_back(cacheFolder(tree, "outside/user/C/MediaCache"));
    fs::create_directory_symlink(tree.path("outside"), tree.path("private/var/folders/linked"));
    items.push_back("private/var/folders/linked");
    fs::create_directory_symlink(tree.path("outside/user/C/MediaCache"), tree.path(user + "/C/linked"));
    items.push_back(user + "/C/linked");
    return items;
}

std::vector<std::string> itemsLeft(const SampleHome& tree, const std::vector<std::string>& items) {
    std::vector<std::string> left;
    for (const std::string& item : items) {
        if (tree.exists(item)) left.push_back(item);
    }
    return left;
}

std::vector<std::string> itemsExcept(const std::vector<std::string>& items, const std::vector<std::string>& gone) {
    std::vector<std::string> kept;
    for (const std::string& item : items) {
        bool removed = false;
        for (const std::string& path : gone) removed = removed || item == path || item.starts_with(path + "/");
        if (!removed) kept.push_back(item);
    }
    return kept;
}

}  // namespace tasselby::testing
