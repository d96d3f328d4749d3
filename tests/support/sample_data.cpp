#include "support/sample_data.h"

#include "base/names.h"
#include "support/cache_trees.h"
#include "support/cookie_stores.h"
#include "support/password_stores.h"
#include "support/plugin_trees.h"
#include "support/web_storage_stores.h"

namespace tasselby::testing {

void buildSampleHome(const SampleHome& home, const std::string& systemRoot) {
    home.writeSuitePreferences({{kDisplayNotifications, true}});
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    home.writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});
    writeFirefoxLogins(home, "k3x9ab2q.default", {"https://www.example.com", "https://accounts.example.org"});
    WebStorageStores(home).writeSample("k3x9ab2q.default");
    writeSampleCookieStores(home);
    writeBrowserCaches(home);
    if (!systemRoot.empty()) writeTemporaryFolders(systemRoot);
    addSamplePluginTrees(home);
}

}  // namespace tasselby::testing
