#include "app/run_reporter.h"

#include <utility>

#include "base/names.h"

namespace tasselby {

RunReporter::RunReporter(std::string layout, bool dryRun, Format format, std::ostream& out)
    : layout_(std::move(layout)), dryRun_(dryRun), format_(format), out_(out) {}

void RunReporter::storeVisited(StoreReport store) {
    // The cleaners speak of what they did; a dry run only would have.
    if (dryRun_ && store.action == kRemovedAction) store.action = kWouldRemoveAction;
    stores_.push_back(std::move(store));
}

std::string RunReporter::line(const StoreReport& store) {
    std::string text = store.store + "  " + store.path + "  ";
    if (store.action == kSkippedAction) return text + "skipped: " + store.reason;
    text += std::to_string(store.items) + " " + store.unit;
    if (store.tracking > 0) text += ", " + std::to_string(store.tracking) + " tracking";
    return text;
}

nlohmann::ordered_json RunReporter::json(const std::string& browser, const RunCounts& counts,
                                         const std::string& reportLine) const {
    nlohmann::ordered_json stores = nlohmann::ordered_json::array();
    for (const StoreReport& store : stores_) {
        nlohmann::ordered_json entry = {{"store", store.store}, {"path", store.path}, {"action", store.action},
                                        {"items", store.items}, {"unit", store.unit}};
        if (store.store == kCookiesStore) entry["tracking"] = store.tracking;
        if (!store.reason.empty()) entry["reason"] = store.reason;
        stores.push_back(std::move(entry));
    }
    return {{"layout", layout_},
            {"browser", browser},
            {"dryRun", dryRun_},
            {"cookies", counts.cookies},
            {"trackingCookies", counts.trackingCookies},
            {"databases", counts.databases},
            {"flash", counts.flash},
            {"silverlight", counts.silverlight},
            {"report", reportLine},
            {"stores", std::move(stores)}};
}

void RunReporter::runFinished(const std::string& browser, const RunCounts& counts, const std::string& reportLine) {
    if (format_ == Format::Json) {
        // Replacement characters for bytes that are not UTF-8 (a path can
        // hold any bytes); the dump never throws.
        out_ << json(browser, counts, reportLine).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
             << '\n';
    } else {
        out_ << reportLine << '\n';
        for (const StoreReport& store : stores_) out_ << line(store) << '\n';
    }
    out_.flush();
}

}  // namespace tasselby
