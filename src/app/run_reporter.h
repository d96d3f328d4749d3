#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "app/run_observer.h"
#include "base/store_report.h"

namespace tasselby {

// Collects what a run reports and writes it out when the run finishes:
// - Text: the report line, then one line per store ("Cookies  PATH  12 rows,
//   3 tracking"), as a dry run shows it;
// - Json: one JSON object on one line.
// In a dry run the stores' action reads "would remove".
class RunReporter : public RunObserver {
public:
    enum class Format { Text, Json };

    RunReporter(std::string layout, bool dryRun, Format format, std::ostream& out);

    void storeVisited(StoreReport store) override;
    void runFinished(const std::string& browser, const RunCounts& counts, const std::string& reportLine) override;

    // The JSON object: layout, browser, dryRun, the counts, the report line
    // and the stores (path, action, items, unit; tracking for cookie stores,
    // reason for skipped ones).
    nlohmann::ordered_json json(const std::string& browser, const RunCounts& counts,
                                const std::string& reportLine) const;
    // One text line of a store.
    static std::string line(const StoreReport& store);

    const RunReport& stores() const { return stores_; }

private:
    std::string layout_;
    bool dryRun_;
    Format format_;
    std::ostream& out_;
    RunReport stores_;
};

}  // namespace tasselby
