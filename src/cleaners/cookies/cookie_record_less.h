#pragma once

#include "app/worker_app_delegate.h"

namespace tasselby {

// A strict total order on cookie records under which two records are
// equivalent exactly when they are the same stored cookie, or rows equal in
// every column value. It lets a set hold each record once.
struct CookieRecordLess {
    bool operator()(const CookieRecord& left, const CookieRecord& right) const;
};

}  // namespace tasselby
