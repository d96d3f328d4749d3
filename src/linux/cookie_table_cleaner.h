#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tasselby {

// Where a browser's cookie table keeps a cookie's host and name.
struct CookieTable {
    const char* table;
    const char* hostColumn;
    const char* nameColumn;
    // Fold the write-ahead log back into the file after the deletion, so the
    // deleted rows do not live on in it (Firefox keeps its cookies in WAL mode).
    bool checkpointWal = false;
};

// Removes, from one SQLite cookie file, every row whose host's site is not
// kept and every row whose name is a tracking cookie, in one transaction
// and one DELETE: the rows are judged inside SQLite by a registered
// function, so no row list is ever held in memory. A dry run counts the
// same rows with the same function, read-only.
class CookieTableCleaner {
public:
    enum class Outcome {
        Done,
        Missing,        // no such file
        Locked,         // another process holds the database: nothing changed
        UnknownFormat,  // not a database, or the table lacks the columns
        Failed,         // the statement failed otherwise: nothing changed
    };
    struct Counts {
        long rows = 0;      // rows removed (or, in a dry run, that would be)
        long tracking = 0;  // of those, rows with a tracking name
    };

    // kept answers whether a host's site is kept (the host as stored, a
    // leading "." included); catalogue is the tracking-name catalogue.
    CookieTableCleaner(CookieTable table, std::function<bool(std::string_view host)> kept,
                       const std::vector<std::string>& catalogue);

    Outcome clean(const std::string& path, bool dryRun, bool secureDelete, Counts* counts) const;

private:
    CookieTable table_;
    std::function<bool(std::string_view)> kept_;
    const std::vector<std::string>& catalogue_;
};

class CleaningRun;

// Cleans one cookie file of a profile for the run: counts and reports what
// went, a held database is skipped for a later run, a foreign one as an
// unknown format, any other failure is reported as such.
void cleanCookieFile(const CookieTable& table, const std::string& store, const std::string& path, CleaningRun& run);

}  // namespace tasselby
