#pragma once

#include <string>

#include "base/store_report.h"

namespace tasselby {

// The figures of a run's report line, the same in both layouts.
struct RunCounts {
    long cookies = 0;
    long trackingCookies = 0;
    long databases = 0;
    long flash = 0;
    long silverlight = 0;
};

// Told what a run did, as it goes: every store with something removed, then
// the counts once at the end, just before the process ends. Optional: a run
// without an observer behaves exactly the same.
class RunObserver {
public:
    virtual ~RunObserver() = default;
    // A store where items were removed (in a dry run: would have been); the
    // path is relative to the home when it lies inside it.
    virtual void storeVisited(StoreReport store) = 0;
    // The browser, the counts and the report line as the notification would
    // carry it, whether or not one is posted.
    virtual void runFinished(const std::string& browser, const RunCounts& counts, const std::string& reportLine) = 0;
};

}  // namespace tasselby
