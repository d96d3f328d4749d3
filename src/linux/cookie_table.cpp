#include "linux/cookie_table.h"

#include <sqlite3.h>

#include "base/text.h"
#include "cleaners/cookies/tracking_cookies.h"
#include "linux/skip_reasons.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kVerdictFunction = "tasselby_cookie_verdict";
// What the verdict function answers per row.
constexpr std::int64_t kKept = 0;
constexpr std::int64_t kNotKept = 1;
constexpr std::int64_t kTracking = 2;

constexpr const char* kProbe = "SELECT %@, %@ FROM %@ LIMIT 0;";
constexpr const char* kCount =
    "SELECT COUNT(*) AS removable, COALESCE(SUM(tasselby_cookie_verdict(%@, %@) = 2), 0) AS tracking "
    "FROM %@ WHERE tasselby_cookie_verdict(%@, %@) > 0;";
constexpr const char* kDelete = "DELETE FROM %@ WHERE tasselby_cookie_verdict(%@, %@) > 0;";
constexpr const char* kSecureDeleteOn = "PRAGMA secure_delete = ON;";
constexpr const char* kCheckpoint = "PRAGMA wal_checkpoint(TRUNCATE);";

constexpr const char* kRowsUnit = "rows";

long integerOf(const SqlRow& row, const char* column) {
    auto value = row.find(column);
    const std::string* text = value == row.end() ? nullptr : sqlText(value->second);
    return text == nullptr ? 0 : std::stol(*text);
}

}  // namespace

void CookieTable::clean(const std::string& store, const std::string& path, const CookieTableLayout& layout,
                        CleaningRun& run) {
    Platform& platform = run.platform();
    FileType type = platform.fileType(path);
    if (type == FileType::None) return;
    if (type != FileType::Regular) {
        // A link could lead anywhere; the database it names is not ours to edit.
        run.skip(store, path, kReasonNotAFile, false);
        return;
    }
    Sqlite database;
    if (!database.openExisting(path, run.dryRun())) {
        run.skip(store, path, kReasonLocked, true);
        return;
    }
    database.createFunction(kVerdictFunction, 2, [&](std::span<const std::optional<std::string_view>> values) {
        if (values[1] && isTrackingCookieName(std::string(*values[1]), run.trackingCatalogue())) return kTracking;
        // A row without a host names no site, and a site that is not kept goes.
        return values[0] && run.isKeptHost(*values[0]) ? kKept : kNotKept;
    });
    const std::string host = layout.hostColumn;
    const std::string name = layout.nameColumn;
    const std::string table = layout.table;
    if (!database.executeQuery(stringWithFormat(kProbe, {host, name, table}))) {
        // A busy database fails the probe too; only a real answer says "foreign".
        bool busy = database.errorCode() == SQLITE_BUSY || database.errorCode() == SQLITE_LOCKED;
        run.skip(store, path, busy ? kReasonLocked : kReasonUnknownFormat, busy);
        return;
    }
    // A real run counts and deletes inside one exclusive transaction, so
    // nobody writes between the two.
    if (!run.dryRun()) {
        if ((run.secureDelete() && !database.executeNonQuery(kSecureDeleteOn)) || !database.beginTransaction()) {
            run.skip(store, path, kReasonLocked, true);
            return;
        }
    }
    std::optional<SqlRows> counted = database.executeQuery(stringWithFormat(kCount, {host, name, table, host, name}));
    if (!counted || counted->size() != 1) {
        database.rollback();
        run.skip(store, path, kReasonLocked, true);
        return;
    }
    long removable = integerOf(counted->front(), "removable");
    long tracking = integerOf(counted->front(), "tracking");
    if (!run.dryRun()) {
        bool deleted = removable == 0 || (database.executeNonQuery(stringWithFormat(kDelete, {table, host, name})) &&
                                          database.changes() == removable);
        if (!deleted || !database.commit()) {
            database.rollback();
            run.skip(store, path, kReasonLocked, true);
            return;
        }
        // The deleted rows also sit in the write-ahead log until it is folded
        // back; a checkpoint that cannot run now happens at the browser's next start.
        if (removable != 0 && layout.checkpointWal) database.executeQuery(kCheckpoint);
    }
    if (removable == 0) return;
    run.countCookies(removable, tracking);
    run.report({store, path, "", removable, kRowsUnit, tracking, ""});
}

}  // namespace tasselby
