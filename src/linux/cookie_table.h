#pragma once

#include <string>

#include "linux/cleaning_run.h"

namespace tasselby {

// Where a browser's cookie database keeps what the keep rule reads.
struct CookieTableLayout {
    const char* table;       // "moz_cookies", "cookies"
    const char* hostColumn;  // "host", "host_key": the cookie's domain, a leading "." for a domain cookie
    const char* nameColumn;  // "name"
    bool checkpointWal;      // fold the write-ahead log back into the file afterwards
};

// The cookie rule of the Linux layout over one SQLite cookie database: a row
// goes when its host's site is not kept or its name is a tracking cookie.
class CookieTable {
public:
    CookieTable() = delete;

    // Removes the rows in one transaction (with the run's secure deletion),
    // counts and reports them; a dry run only counts. A database without the
    // table or its columns is skipped as an unknown format; one that another
    // process holds is skipped for a later run. Missing files are nothing to do.
    static void clean(const std::string& store, const std::string& path, const CookieTableLayout& layout,
                      CleaningRun& run);
};

}  // namespace tasselby
