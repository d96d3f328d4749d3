#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "app/worker_app_delegate.h"
#include "base/store_report.h"
#include "linux/browser_installs.h"
#include "linux/cleaning_run.h"
#include "linux/linux_roots.h"
#include "platform/platform.h"

namespace tasselby {

// How a run of the Linux layout ended.
enum class LinuxRunStatus {
    Done,           // cleaned (or, in a dry run, planned) every install there is
    NoBrowser,      // no argument names a browser: nothing was done
    UnknownBrowser, // the browser exists only in the macOS layout: nothing was done
    TryAgainLater,  // a running install or a held store was skipped; the rest was cleaned
};

// One run of the Linux layout for the browser named among the platform's
// arguments: its installs, the keep list of saved logins, every profile of
// every install that is not running, the notification. Errors go to the
// given stream, one line each.
class FamilyCleaner;

class LinuxRun {
public:
    LinuxRun(Platform& platform, LinuxRoots roots, std::ostream& errors);

    // A dry run reads everything and writes nothing: the report and the
    // counts say what a real run would remove.
    void setDryRun(bool dryRun) { dryRun_ = dryRun; }

    LinuxRunStatus run();

    // What the run did (or would do) per store, in the order it met them.
    const RunReport& report() const { return report_; }
    const LinuxCounts& counts() const { return counts_; }
    // The browser the run was for; empty before run() or without one.
    const std::string& browser() const { return browser_; }

    // The first argument naming a browser of either layout, argument 0 included.
    static std::optional<std::string> browserArgument(const std::vector<std::string>& arguments);

private:
    KeepList keepList(const std::vector<BrowserInstall>& installs, FamilyCleaner* cleaner);
    void notify(const LinuxCounts& counts);

    Platform& platform_;
    LinuxRoots roots_;
    std::ostream& errors_;
    WorkerAppDelegate delegate_;
    bool dryRun_ = false;
    std::string browser_;
    RunReport report_;
    LinuxCounts counts_;
};

}  // namespace tasselby
