#include <set>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/cookie_record_less.h"
#include "cleaners/cookies/cookie_store_paths.h"
#include "cleaners/cookies/tracking_cookies.h"
#include "keep/keep_set.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

// The two working lists of one inventory, as positions into the records read.
class CookieSorter {
public:
    CookieSorter(const std::vector<std::string>& catalogue, const KeepList& keep)
        : catalogue_(catalogue), keep_(keep) {}

    // A record whose host names no site is left out of both lists. Whether
    // its site is kept and whether its name is a tracking name are decided
    // apart: a kept site's tracking cookies go all the same.
    void classify(CookieRecord record, const std::string& host, const std::optional<std::string>& name) {
        std::optional<std::string> site = WorkerExtras::siteWithDomainName(host);
        if (!site) return;
        const bool notKept = !keep_.contains(site);
        const bool tracking = isTrackingCookieName(name, catalogue_);
        if (!notKept && !tracking) return;  // stays, and nothing needs it again
        const std::size_t position = records_.size();
        records_.push_back(std::move(record));
        if (notKept) nonKept_.push_back(position);
        if (tracking) tracking_.push_back(position);
    }

    void classifyRow(SqlRow row, const char* hostColumn) {
        const std::string* host = columnText(row, hostColumn);
        if (host == nullptr) return;  // a NULL host names no site
        const std::string* name = columnText(row, kNameColumn);
        std::optional<std::string> cookieName = name != nullptr ? std::optional(*name) : std::nullopt;
        std::string hostName = *host;
        classify(std::move(row), hostName, cookieName);
    }

    // The figures counted so far, as the inventory will add them up.
    long counted() const { return static_cast<long>(nonKept_.size() + tracking_.size()); }
    long tracked() const { return static_cast<long>(tracking_.size()); }

    // The count takes the tracking list on top of the non-kept list, so a
    // tracking cookie of a site that is not kept counts twice; the removal
    // list holds each record once.
    // Hands the records over: the sorter is spent afterwards.
    CookieInventory inventory() {
        CookieInventory result;
        result.cookieCount = static_cast<long>(nonKept_.size() + tracking_.size());
        result.trackingCount = static_cast<long>(tracking_.size());
        std::vector<std::size_t> combined = nonKept_;
        combined.insert(combined.end(), tracking_.begin(), tracking_.end());
        auto sameRecord = [this](std::size_t left, std::size_t right) {
            return CookieRecordLess()(records_[left], records_[right]);
        };
        std::set<std::size_t, decltype(sameRecord)> unique(sameRecord);
        std::vector<std::size_t> chosen;
        for (std::size_t position : combined) {
            if (unique.insert(position).second) chosen.push_back(position);
        }
        // Only now may the records move: the set compares them until the end.
        result.removalList.reserve(chosen.size());
        for (std::size_t position : chosen) result.removalList.push_back(std::move(records_[position]));
        return result;
    }

private:
    static const std::string* columnText(const SqlRow& row, const char* column) {
        auto found = row.find(column);
        return found != row.end() ? sqlText(found->second) : nullptr;
    }

    const std::vector<std::string>& catalogue_;
    KeepSet keep_;
    std::vector<CookieRecord> records_;
    std::vector<std::size_t> nonKept_;
    std::vector<std::size_t> tracking_;
};

void readCookieDatabase(Platform& platform, const std::string& path, const char* select, const char* hostColumn,
                        CookieSorter& sorter) {
    if (!platform.fileExists(path)) return;
    Sqlite database;
    if (!database.open(path, platform.readOnly())) return;
    // A query that fails (no such table, not a database, locked) adds nothing.
    std::optional<SqlRows> rows = database.executeQuery(select);
    if (!rows) return;
    for (SqlRow& row : *rows) sorter.classifyRow(std::move(row), hostColumn);
}

}  // namespace

CookieInventory WorkerAppDelegate::cookies(const std::string& browser, const KeepList& keepCookies) {
    std::vector<std::string> catalogue = defaultTrackingCookies();
    CookieSorter sorter(catalogue, keepCookies);
    // Each store's share of the counts goes to the report once it is read.
    auto read = [&](const std::string& path, const char* select, const char* hostColumn) {
        long counted = sorter.counted();
        long tracked = sorter.tracked();
        readCookieDatabase(platform_, path, select, hostColumn, sorter);
        noteStore(kCookiesStore, path, sorter.counted() - counted, "rows", sorter.tracked() - tracked);
    };

    // "WebKit" is a browser of its own here and reads no store at all.
    if (browser == kSafari) {
        for (HttpCookie& cookie : platform_.sharedHTTPCookieStorage().cookies()) {
            std::string host = cookie.domain;
            std::string name = cookie.name;
            sorter.classify(std::move(cookie), host, name);
        }
        noteStore(kCookiesStore, kSharedCookieFile, sorter.counted(), "rows", sorter.tracked());
    } else if (isChromiumFamily(browser)) {
        for (const std::string& folder : chromiumProfileFolders(*this, browser)) {
            read(appendingPathComponent(folder, kChromiumCookieFile), kSelectChromiumCookies, kChromiumHostColumn);
        }
    } else if (browser == kFirefox) {
        for (const std::string& folder : firefoxProfileFolders(*this)) {
            read(appendingPathComponent(folder, kMozillaCookieFile), kSelectMozillaCookies, kMozillaHostColumn);
        }
    } else if (browser == kCamino) {
        read(expandTilde(kCaminoCookieDatabase), kSelectMozillaCookies, kMozillaHostColumn);
    }
    return sorter.inventory();
}

}  // namespace tasselby
