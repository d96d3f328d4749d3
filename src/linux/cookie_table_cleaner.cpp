#include "linux/cookie_table_cleaner.h"

#include <sqlite3.h>

#include <optional>
#include <set>

#include "cleaners/cookies/tracking_cookies.h"
#include "linux/cleaning_run.h"
#include "linux/skip_reasons.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kRemovableFunction = "tasselby_removable";
constexpr const char* kCheckpoint = "PRAGMA wal_checkpoint(TRUNCATE);";
constexpr const char* kRows = "rows";
constexpr const char* kFailed = "failed";

bool isBusy(const Sqlite& database) {
    std::int64_t code = database.errorCode() & 0xFF;  // the primary code of an extended one
    return code == SQLITE_BUSY || code == SQLITE_LOCKED;
}

}  // namespace

CookieTableCleaner::CookieTableCleaner(CookieTable table, std::function<bool(std::string_view host)> kept,
                                       const std::vector<std::string>& catalogue)
    : table_(table), kept_(std::move(kept)), catalogue_(catalogue) {}

CookieTableCleaner::Outcome CookieTableCleaner::clean(const std::string& path, bool dryRun, bool secureDelete,
                                                      Counts* counts) const {
    *counts = {};
    Sqlite database;
    if (!database.openExisting(path, dryRun)) return Outcome::Missing;

    // The columns are checked by name: a table of another shape is never guessed at.
    std::optional<SqlRows> columns = database.executeQuery(std::string("PRAGMA table_info(") + table_.table + ");");
    if (!columns) return isBusy(database) ? Outcome::Locked : Outcome::UnknownFormat;
    std::set<std::string> names;
    for (const SqlRow& column : *columns) {
        auto name = column.find("name");
        if (name == column.end()) continue;
        if (const std::string* text = sqlText(name->second)) names.insert(*text);
    }
    if (names.count(table_.hostColumn) == 0 || names.count(table_.nameColumn) == 0) return Outcome::UnknownFormat;

    long tracking = 0;
    bool registered = database.createFunction(
        kRemovableFunction, 2, [&](std::span<const std::optional<std::string_view>> arguments) -> std::int64_t {
            const std::optional<std::string_view>& host = arguments[0];
            std::optional<std::string> name;
            if (arguments[1]) name = std::string(*arguments[1]);
            if (isTrackingCookieName(name, catalogue_)) {
                ++tracking;
                return 1;
            }
            return host && kept_(*host) ? 0 : 1;
        });
    if (!registered) return Outcome::Failed;

    const std::string where = std::string(" FROM ") + table_.table + " WHERE " + kRemovableFunction + "(" +
                              table_.hostColumn + ", " + table_.nameColumn + ")";
    if (dryRun) {
        std::optional<SqlRows> rows = database.executeQuery("SELECT count(*) AS removable" + where + ";");
        const std::string* count = rows && rows->size() == 1 ? sqlText(rows->front().at("removable")) : nullptr;
        if (count == nullptr) return isBusy(database) ? Outcome::Locked : Outcome::Failed;
        counts->rows = std::stol(*count);
        counts->tracking = tracking;
        return Outcome::Done;
    }

    if (secureDelete && !database.enableSecureDelete()) {
        return isBusy(database) ? Outcome::Locked : Outcome::Failed;
    }
    if (!database.beginTransaction()) return isBusy(database) ? Outcome::Locked : Outcome::Failed;
    tracking = 0;
    if (!database.executeNonQuery("DELETE" + where + ";")) {
        bool busy = isBusy(database);
        database.rollback();
        return busy ? Outcome::Locked : Outcome::Failed;
    }
    long removed = static_cast<long>(database.changes());
    if (!database.commit()) {
        bool busy = isBusy(database);
        database.rollback();
        return busy ? Outcome::Locked : Outcome::Failed;
    }
    // A checkpoint that cannot run now (a reader holds the log) happens at
    // the browser's next start; the deletion itself is done.
    if (table_.checkpointWal && removed != 0) database.executeQuery(kCheckpoint);
    counts->rows = removed;
    counts->tracking = tracking;
    return Outcome::Done;
}

void cleanCookieFile(const CookieTable& table, const std::string& store, const std::string& path, CleaningRun& run) {
    switch (run.platform().fileType(path)) {
        case FileType::None:
            return;
        case FileType::Regular:
            break;
        default:
            // A link could lead anywhere: the database it names is not ours to edit.
            run.skip(store, path, kReasonNotAFile, false);
            return;
    }
    CookieTableCleaner cleaner(table, [&](std::string_view host) { return run.isKeptHost(host); },
                               run.trackingCatalogue());
    CookieTableCleaner::Counts counts;
    switch (cleaner.clean(path, run.dryRun(), run.secureDelete(), &counts)) {
        case CookieTableCleaner::Outcome::Done:
            run.countCookies(counts.rows, counts.tracking);
            run.report({store, path, "", counts.rows, kRows, counts.tracking, ""});
            break;
        case CookieTableCleaner::Outcome::Locked:
            run.skip(store, path, kReasonLocked, true);
            break;
        case CookieTableCleaner::Outcome::UnknownFormat:
            run.skip(store, path, kReasonUnknownFormat, false);
            break;
        case CookieTableCleaner::Outcome::Missing:
        case CookieTableCleaner::Outcome::Failed:
            run.report({store, path, kFailed, 0, kRows, 0, ""});
            break;
    }
}

}  // namespace tasselby
