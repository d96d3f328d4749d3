#include <algorithm>
#include <set>

#include "base/names.h"
#include "app/run_stopped.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/plugins/plugin_tree.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

constexpr const char* kSilverlightFolder = "~/Library/Application Support/Microsoft/Silverlight";
constexpr const char* kIsolatedStorage = "~/Library/Application Support/Microsoft/Silverlight/is";
constexpr const char* kStoresFolder = "s";
constexpr const char* kGroupsFolder = "g";
constexpr const char* kIdentityFile = "id.dat";
constexpr const char* kGroupFile = "group.dat";

// Entry names of a folder, without those beginning with ".".
std::vector<std::string> visibleEntries(const PluginTree& tree, const std::string& folder) {
    std::vector<std::string> names = tree.list(folder);
    std::erase_if(names, [](const std::string& name) { return name.starts_with('.'); });
    return names;
}


}  // namespace

long WorkerAppDelegate::removeSilverlight(const KeepList& keep) {
    bool secureDelete = platform_.boolForKey(kSecureDeleteData);
    std::string pluginFolder = expandTilde(kSilverlightFolder);
    PluginTree tree(*this, pluginFolder, secureDelete);
    std::set<std::string> removed;

    std::string isolatedStorage = expandTilde(kIsolatedStorage);
    for (const std::string& name1 : visibleEntries(tree, isolatedStorage)) {
        std::string level1 = appendingPathComponent(isolatedStorage, name1);
        for (const std::string& name2 : visibleEntries(tree, level1)) {
            std::string level2 = appendingPathComponent(level1, name2);
            for (const std::string& name3 : visibleEntries(tree, level2)) {
                std::string level3 = appendingPathComponent(level2, name3);
                std::string stores = appendingPathComponent(level3, kStoresFolder);
                for (const std::string& storeName : visibleEntries(tree, stores)) {
                    std::string store = appendingPathComponent(stores, storeName);
                    // The store folder itself may be a link: its two files are
                    // read through it (reading does no harm), and its removal
                    // takes the link. Links inside the store are not followed.
                    PluginTree storeTree(*this, store, secureDelete);
                    std::optional<std::string> identity = storeTree.read(appendingPathComponent(store, kIdentityFile));
                    std::optional<std::string> group = storeTree.read(appendingPathComponent(store, kGroupFile));
                    std::optional<std::string> site =
                        identity ? WorkerExtras::siteWithDomainName(*identity) : std::nullopt;
                    // A store that cannot say whose it is stops the whole run
                    // on purpose: nothing after it is cleaned or reported.
                    if (!site) throw RunStopped(stringWithFormat("Silverlight store \"%@\" names no site", {store}));
                    if (std::find(keep.begin(), keep.end(), *site) != keep.end()) continue;

                    removed.insert(*site);
                    tree.dispose(store);
                    // Only a group name that names one folder inside "g" takes it away.
                    if (group && isFolderName(*group)) {
                        tree.dispose(appendingPathComponent(appendingPathComponent(level3, kGroupsFolder), *group));
                    }
                    // Once a store folder is empty the plug-in's whole folder
                    // goes, every other store with it, judged or not; the walk
                    // then finds only empty listings.
                    if (tree.list(stores).empty()) tree.dispose(pluginFolder);
                }
            }
        }
    }
    return static_cast<long>(removed.size());
}

}  // namespace tasselby
