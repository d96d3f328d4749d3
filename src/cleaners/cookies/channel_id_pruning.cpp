#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/cookie_store_paths.h"

namespace tasselby {

void WorkerAppDelegate::deleteChromeChannelID(const std::string& browser, const KeepList& keep) {
    if (!isChromiumFamily(browser)) return;
    // Site names go into the list as they are, without doubling quotes: they
    // carry none in practice, and one that did would only make this one
    // statement fail. An empty keep list gives NOT IN (''), which prunes every
    // certificate, as removing everything should.
    std::string statement = stringWithFormat(kPruneChannelIDs, {componentsJoinedByString(keep, "','")});
    for (const std::string& folder : chromiumProfileFolders(*this, browser)) {
        std::string path = appendingPathComponent(folder, kOriginBoundCertsFile);
        if (!platform_.fileExists(path)) continue;
        Sqlite database;
        // The outcome is not examined: a locked or damaged store keeps its certificates.
        if (database.open(path, platform_.readOnly())) database.executeQuery(statement);
    }
}

}  // namespace tasselby
