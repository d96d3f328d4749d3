#include <algorithm>
#include <numeric>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "cleaners/cookies/record_fingerprint.h"
#include "cleaners/cookies/cookie_store_paths.h"
#include "cleaners/cookies/tracking_cookies.h"
#include "keep/keep_set.h"
#include "keep/worker_extras.h"

namespace tasselby {

namespace {

// The two working lists of one inventory, as positions into the records chosen.
class CookieSorter {
public:
    CookieSorter(const std::vector<std::string>& catalogue, const KeepList& keep)
        : catalogue_(catalogue), keep_(keep) {}

    void classify(HttpCookie cookie) {
        if (!choose(cookie.domain, cookie.name)) return;
        fingerprints_.push_back(fingerprintOf(cookie));
        storedCookies_.push_back(std::move(cookie));
    }

    // A row is let go as soon as it is judged: one it may remove leaves
    // behind only what its deletion statement names and its fingerprint.
    void classifyRow(const SqlRow& row, const char* hostColumn, const char* keyColumn) {
        const std::string* host = columnText(row, hostColumn);
        if (host == nullptr) return;  // a NULL host names no site
        const std::string* name = columnText(row, kNameColumn);
        if (!choose(*host, name != nullptr ? std::optional(*name) : std::nullopt)) return;
        fingerprints_.push_back(fingerprintOf(row));
        const std::string* key = columnText(row, keyColumn);
        rows_.emplace_back(*host, key != nullptr ? std::optional<std::string_view>(*key) : std::nullopt);
    }

    // The figures counted so far, as the inventory will add them up.
    long counted() const { return static_cast<long>(nonKept_.size() + tracking_.size()); }
    long tracked() const { return static_cast<long>(tracking_.size()); }

    // The count takes the tracking list on top of the non-kept list, so a
    // tracking cookie of a site that is not kept counts twice; the removal
    // list holds each record once, at its first place in the two lists.
    // Hands the records over: the sorter is spent afterwards.
    CookieInventory inventory() {
        CookieInventory result;
        result.cookieCount = static_cast<long>(nonKept_.size() + tracking_.size());
        result.trackingCount = static_cast<long>(tracking_.size());
        std::vector<std::size_t> combined = std::move(nonKept_);
        combined.insert(combined.end(), tracking_.begin(), tracking_.end());
        std::vector<std::size_t>().swap(tracking_);
        // Places in the combined list, equal records side by side in list order.
        std::vector<std::size_t> places(combined.size());
        std::iota(places.begin(), places.end(), std::size_t{0});
        std::stable_sort(places.begin(), places.end(), [&](std::size_t left, std::size_t right) {
            return fingerprints_[combined[left]] < fingerprints_[combined[right]];
        });
        std::vector<bool> first(combined.size(), false);
        for (std::size_t i = 0; i < places.size(); ++i) {
            first[places[i]] = i == 0 || fingerprints_[combined[places[i]]] != fingerprints_[combined[places[i - 1]]];
        }
        std::vector<std::size_t>().swap(places);
        std::vector<RecordFingerprint>().swap(fingerprints_);
        const auto records = static_cast<std::size_t>(std::count(first.begin(), first.end(), true));
        result.storedCookies.reserve(storedCookies_.empty() ? 0 : records);
        result.rows.reserve(rows_.empty() ? 0 : records);
        for (std::size_t place = 0; place < combined.size(); ++place) {
            if (!first[place]) continue;
            if (!storedCookies_.empty()) result.storedCookies.push_back(std::move(storedCookies_[combined[place]]));
            if (!rows_.empty()) result.rows.push_back(std::move(rows_[combined[place]]));
        }
        std::vector<HttpCookie>().swap(storedCookies_);
        std::vector<CookieRow>().swap(rows_);
        return result;
    }

private:
    // Whether the cookie may go, noting which lists it joins. A cookie whose
    // host names no site joins neither. Whether its site is kept and whether
    // its name is a tracking name are decided apart: a kept site's tracking
    // cookies go all the same.
    bool choose(const std::string& host, const std::optional<std::string>& name) {
        std::optional<std::string> site = WorkerExtras::siteWithDomainName(host);
        if (!site) return false;
        const bool notKept = !keep_.contains(site);
        const bool tracking = isTrackingCookieName(name, catalogue_);
        if (!notKept && !tracking) return false;  // stays, and nothing needs it again
        const std::size_t position = fingerprints_.size();
        if (notKept) nonKept_.push_back(position);
        if (tracking) tracking_.push_back(position);
        return true;
    }

    static const std::string* columnText(const SqlRow& row, const char* column) {
        auto found = row.find(column);
        return found != row.end() ? sqlText(found->second) : nullptr;
    }

    const std::vector<std::string>& catalogue_;
    KeepSet keep_;
    std::vector<RecordFingerprint> fingerprints_;  // one per record chosen
    std::vector<HttpCookie> storedCookies_;        // the records: cookies of the shared storage,
    std::vector<CookieRow> rows_;                  // or rows of the browser's tables
    std::vector<std::size_t> nonKept_;
    std::vector<std::size_t> tracking_;
};

void readCookieDatabase(Platform& platform, const std::string& path, const char* select, const char* hostColumn,
                        const char* keyColumn, CookieSorter& sorter) {
    if (!platform.fileExists(path)) return;
    Sqlite database;
    if (!database.open(path, platform.readOnly())) return;
    // A query that fails (no such table, not a database, locked) adds nothing.
    database.forEachRow(select, [&](const SqlRow& row) { sorter.classifyRow(row, hostColumn, keyColumn); });
}

}  // namespace

CookieInventory WorkerAppDelegate::cookies(const std::string& browser, const KeepList& keepCookies) {
    std::vector<std::string> catalogue = defaultTrackingCookies();
    CookieSorter sorter(catalogue, keepCookies);
    // Each store's share of the counts goes to the report once it is read.
    auto read = [&](const std::string& path, const char* select, const char* hostColumn, const char* keyColumn) {
        long counted = sorter.counted();
        long tracked = sorter.tracked();
        readCookieDatabase(platform_, path, select, hostColumn, keyColumn, sorter);
        noteStore(kCookiesStore, path, sorter.counted() - counted, "rows", sorter.tracked() - tracked);
    };

    // "WebKit" is a browser of its own here and reads no store at all.
    if (browser == kSafari) {
        for (HttpCookie& cookie : platform_.sharedHTTPCookieStorage().cookies()) {
            sorter.classify(std::move(cookie));
        }
        noteStore(kCookiesStore, kSharedCookieFile, sorter.counted(), "rows", sorter.tracked());
    } else if (isChromiumFamily(browser)) {
        for (const std::string& folder : chromiumProfileFolders(*this, browser)) {
            read(appendingPathComponent(folder, kChromiumCookieFile), kSelectChromiumCookies, kChromiumHostColumn,
                 kChromiumKeyColumn);
        }
    } else if (browser == kFirefox) {
        for (const std::string& folder : firefoxProfileFolders(*this)) {
            read(appendingPathComponent(folder, kMozillaCookieFile), kSelectMozillaCookies, kMozillaHostColumn,
                 kMozillaKeyColumn);
        }
    } else if (browser == kCamino) {
        read(expandTilde(kCaminoCookieDatabase), kSelectMozillaCookies, kMozillaHostColumn, kMozillaKeyColumn);
    }
    return sorter.inventory();
}

}  // namespace tasselby
