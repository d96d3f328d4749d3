#include "linux/chromium_profile_cleaner.h"

#include <map>
#include <utility>

#include "base/text.h"
#include "linux/chromium_profiles.h"
#include "linux/cookie_table_cleaner.h"
#include "linux/login_keep_list.h"
#include "linux/running_browser.h"
#include "linux/skip_reasons.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kLoginStores[] = {"Login Data", "Login Data For Account"};
// Caches of the whole install, beside the profiles.
constexpr const char* kInstallCaches[] = {"GrShaderCache", "ShaderCache", "GraphiteDawnCache"};

constexpr CookieTable kCookieTable{"cookies", "host_key", "name"};
constexpr const char* kCookies = "Cookies";
constexpr const char* kCache = "Cache";

constexpr const char* kRows = "rows";
constexpr const char* kKeys = "keys";
constexpr const char* kFolders = "folders";
constexpr const char* kItems = "items";
constexpr const char* kFailed = "failed";

}  // namespace

std::vector<BrowserProfile> ChromiumProfileCleaner::profiles(const BrowserInstall& install) {
    return ChromiumProfiles::of(platform_, install);
}

bool ChromiumProfileCleaner::installRunning(const BrowserInstall& install) {
    return RunningBrowser::chromiumInstallRunning(install.userData);
}

void ChromiumProfileCleaner::addSavedLoginSites(const BrowserProfile& profile, std::set<std::string>& sites) {
    for (const char* store : kLoginStores) {
        std::string path = appendingPathComponent(profile.path, store);
        // A link could lead anywhere; the browser never makes one here.
        if (platform_.fileType(path) != FileType::Regular) continue;
        LoginKeepList::addChromiumLogins(path, sites);
    }
}

void ChromiumProfileCleaner::cleanProfile(const BrowserInstall&, const BrowserProfile& profile, CleaningRun& run) {
    ChromiumProfilePlan profilePlan = plan(profile, run);
    apply(profile, profilePlan, run);
}

void ChromiumProfileCleaner::cleanInstall(const BrowserInstall& install, CleaningRun& run) {
    for (const char* cache : kInstallCaches) removeWhole(kCache, appendingPathComponent(install.userData, cache), run);
}

void ChromiumProfileCleaner::removeWhole(const std::string& store, const std::string& path, CleaningRun& run) {
    if (platform_.fileType(path) == FileType::None) return;
    StoreReport entry{store, path, "", 1, kFolders, 0, ""};
    if (!run.dispose(path)) {
        entry.action = kFailed;
        entry.items = 0;
    }
    run.report(std::move(entry));
}

void ChromiumProfileCleaner::apply(const BrowserProfile& profile, ChromiumProfilePlan& plan, CleaningRun& run) {
    for (const ChromiumProfilePlan::Skip& skip : plan.skips) run.skip(skip.store, skip.path, skip.reason, skip.tryAgain);
    applyCookies(plan, run);
    applyKeyDeletions(profile, plan, run);
    applyRemovals(profile, plan, run);
    applyRowDeletions(plan, run);
}

void ChromiumProfileCleaner::applyCookies(ChromiumProfilePlan& plan, CleaningRun& run) {
    for (const std::string& path : plan.cookieFiles) cleanCookieFile(kCookieTable, kCookies, path, run);
}

void ChromiumProfileCleaner::applyKeyDeletions(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                               CleaningRun& run) {
    for (const ChromiumProfilePlan::KeyDeletion& deletion : plan.keyDeletions) {
        if (!run.dryRun()) {
            LevelDb::Status status = LevelDb::Status::Missing;
            std::unique_ptr<LevelDb> database = LevelDb::openForEditing(deletion.folder, &status);
            // A browser that started since the plan was made holds the store now.
            if (status == LevelDb::Status::Locked) {
                run.skip(deletion.store, deletion.folder, kReasonLocked, true);
                continue;
            }
            // Closing (at the end of the block) gives the store's files back their modes.
            if (!database || !database->remove(deletion.keys, run.secureDelete())) {
                run.report({deletion.store, deletion.folder, kFailed, 0, kKeys, 0, ""});
                continue;
            }
        }
        for (const std::string& origin : deletion.origins) run.countSiteStorage(profile.path, origin);
        run.report({deletion.store, deletion.folder, "", static_cast<long>(deletion.keys.size()), kKeys, 0, ""});
    }
}

void ChromiumProfileCleaner::applyRemovals(const BrowserProfile& profile, ChromiumProfilePlan& plan,
                                           CleaningRun& run) {
    // One report entry per store folder, in the order the plan met them.
    std::vector<std::pair<std::string, std::string>> order;
    std::map<std::pair<std::string, std::string>, std::pair<long, long>> tally;  // removed, failed
    auto count = [&](const std::string& store, const std::string& group, bool gone) {
        auto key = std::make_pair(store, group);
        if (tally.find(key) == tally.end()) order.push_back(key);
        (gone ? tally[key].first : tally[key].second) += 1;
    };
    for (const ChromiumProfilePlan::Removal& removal : plan.removals) {
        bool gone = run.dispose(removal.path);
        if (gone && !removal.origin.empty()) run.countSiteStorage(profile.path, removal.origin);
        count(removal.store, removal.group, gone);
    }
    for (const auto& key : order) {
        const auto& [removed, failed] = tally[key];
        run.report({key.first, key.second, failed != 0 && removed == 0 ? kFailed : "", removed, kItems, 0, ""});
    }
    FlashSharedObjects::apply(plan.flashStore, plan.flash, run);
}

void ChromiumProfileCleaner::applyRowDeletions(ChromiumProfilePlan& plan, CleaningRun& run) {
    for (const ChromiumProfilePlan::RowDeletion& deletion : plan.rowDeletions) {
        StoreReport entry{deletion.store, deletion.database, "", static_cast<long>(deletion.values.size()), kRows, 0, ""};
        if (!run.dryRun()) {
            // An index database that cannot be written is left as it is: the
            // browser tolerates rows whose data has gone.
            Sqlite database;
            bool done = database.openExisting(deletion.database, false) &&
                        (!run.secureDelete() || database.enableSecureDelete()) &&
                        database.beginTransaction();
            for (const std::string& value : deletion.values) {
                done = done && database.executeNonQuery(deletion.sql, {SqlArgument(value)});
            }
            done = done && database.commit();
            if (!done) {
                database.rollback();
                entry.action = kFailed;
                entry.items = 0;
            }
        }
        run.report(std::move(entry));
    }
}

}  // namespace tasselby
