#pragma once

#include <iosfwd>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "app/worker_app_delegate.h"
#include "base/store_report.h"
#include "keep/keep_set.h"
#include "platform/platform.h"

namespace tasselby {

// The figures of the notification, gathered over every install and profile.
struct LinuxCounts {
    long cookies = 0;                    // cookie rows removed
    long trackingCookies = 0;            // of those, rows whose name is in the tracking catalogue
    std::set<std::string> siteStorage;   // "profile folder origin" pairs whose site storage went
    std::set<std::string> flashSites;    // sites whose Flash storage went
};

// What a family cleaner acts through while it cleans one browser: the keep
// set, the run's preferences, the counts and the report. It is also the one
// place that decides whether anything is written: in a dry run every
// disposal only reports what it would do.
class CleaningRun {
public:
    CleaningRun(WorkerAppDelegate& delegate, const KeepSet& keep, bool dryRun, bool secureDelete,
                std::ostream& errors);

    Platform& platform() { return delegate_.platform(); }
    bool dryRun() const { return dryRun_; }
    bool secureDelete() const { return secureDelete_; }

    // Whether the site of a host name is kept; a host without a site is not.
    bool isKeptHost(std::string_view host) const;
    // The tracking-cookie catalogue, read once.
    const std::vector<std::string>& trackingCatalogue() const { return catalogue_; }

    // --- Disposal ---------------------------------------------------------
    // Removes a file, a link or a folder by the disposal rule: with secure
    // deletion every regular file is overwritten first and stays when that
    // fails (and so does the folder around it). A link is removed as a link,
    // never followed and never overwritten. In a dry run nothing happens.
    // Answers whether the item is gone (in a dry run: whether it exists).
    bool dispose(const std::string& path);

    // --- Counts and report ------------------------------------------------
    void countCookies(long removed, long tracking);
    void countSiteStorage(const std::string& profile, const std::string& origin);
    void countFlashSite(const std::string& site);
    const LinuxCounts& counts() const { return counts_; }

    // Adds a report entry; the path is made relative to the home when it lies
    // inside it, and the action is taken from the run ("removed" or "would
    // remove") unless the entry already has one.
    void report(StoreReport entry);
    // A store (or install, or profile) left alone. With tryAgain the run ends
    // with the "try again later" status and stderr names it on one line.
    void skip(const std::string& store, const std::string& path, const std::string& reason, bool tryAgain);
    const RunReport& runReport() const { return report_; }
    bool skippedForNow() const { return skippedForNow_; }

    // The path relative to the home when it lies inside it, else unchanged.
    std::string relativeToHome(const std::string& path);

private:
    bool disposeFolderSecurely(const std::string& folder);

    WorkerAppDelegate& delegate_;
    const KeepSet& keep_;
    bool dryRun_;
    bool secureDelete_;
    std::ostream& errors_;
    std::vector<std::string> catalogue_;
    LinuxCounts counts_;
    RunReport report_;
    bool skippedForNow_ = false;
};

}  // namespace tasselby
