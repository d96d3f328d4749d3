// Cookie cleaning against plain SQLite:
//   cookie_bench [COOKIES]      (default 20000; a second round runs with a tenth)
//   cookie_bench --peaks        (the peak-memory rounds alone)
// For Chrome (three profiles) and Firefox (three profiles), COOKIES cookies
// over COOKIES/10 sites, half of the sites kept, one cookie in ten with a
// tracking name. Each measurement runs in a child process over a fresh copy
// of the home. The worker's cookie cleaning (inventory, channel-ID pruning,
// deletions) is timed against a baseline that reads the same tables and runs
// the same autocommit DELETE statements, with the same connections per
// statement, through the SQLite C library directly.
// Then peak memory: the worker itself (build/tasselby-worker, a process of
// its own, no keyring so every cookie goes) over a Chrome home of three
// profiles with 2,000, 20,000 and 100,000 cookies, and the bytes each
// further removable row costs between the last two.
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/cookie_stores.h"
#include "support/sample_home.h"

namespace {

using namespace tasselby;
using namespace tasselby::testing;

constexpr int kProfiles = 3;
constexpr const char* kChromeDelete = "DELETE FROM cookies WHERE host_key = '%@' AND creation_utc = '%@';";
constexpr const char* kFirefoxDelete = "DELETE FROM moz_cookies WHERE host = '%@' AND id = '%@';";

struct Workload {
    std::vector<std::vector<StoredCookie>> profiles;
    KeepList keep;
    std::vector<std::string> statements;  // one per cookie to remove
};

bool isTracking(std::size_t index) { return index % 10 == 0; }

Workload makeWorkload(std::size_t cookies, bool chrome) {
    Workload load;
    std::size_t sites = std::max<std::size_t>(cookies / 10, 2);
    for (std::size_t site = 0; site < sites / 2; ++site) load.keep.push_back("site" + std::to_string(site) + ".com");
    load.profiles.resize(kProfiles);
    for (std::size_t i = 0; i < cookies; ++i) {
        std::size_t site = i % sites;
        std::string host = (i % 2 == 0 ? "." : "www.") + ("site" + std::to_string(site) + ".com");
        std::string name = (isTracking(i) ? "__utm" : "pref") + std::to_string(i);
        auto& profile = load.profiles[i % kProfiles];
        std::size_t position = profile.size();
        profile.push_back({host, name, "value" + std::to_string(i), "/"});
        if (site >= sites / 2 || isTracking(i)) {
            std::string key = chrome ? std::to_string(chromiumCreationTime(position)) : std::to_string(position + 1);
            load.statements.push_back(stringWithFormat(chrome ? kChromeDelete : kFirefoxDelete, {host, key}));
        }
    }
    return load;
}

std::string profileFolder(const SampleHome& home, bool chrome, int profile) {
    std::string name = profile == 0 ? "Default" : "Profile " + std::to_string(profile);
    return chrome ? home.path(std::string(kChromeRoot) + "/" + name)
                  : home.path(std::string(kFirefoxProfiles) + "/" + name);
}

std::string database(const SampleHome& home, bool chrome, int profile) {
    return profileFolder(home, chrome, profile) + (chrome ? "/Cookies" : "/cookies.sqlite");
}

void writeHome(const SampleHome& home, const Workload& load, bool chrome) {
    std::vector<std::pair<std::string, std::string>> profiles;
    for (int p = 0; p < kProfiles; ++p) {
        profiles.emplace_back(p == 0 ? "Default" : "Profile " + std::to_string(p), "Person");
        if (chrome) {
            writeChromiumCookies(database(home, chrome, p), ChromiumCookieSchema::Version20, load.profiles[p]);
        } else {
            writeMozillaCookies(database(home, chrome, p), MozillaCookieSchema::Current, load.profiles[p]);
        }
    }
    if (chrome) home.writeLocalState(kChromeRoot, profiles);
}

// The baseline: the same reads and the same statements, through the C library.
void readAll(const std::string& path, const char* select) {
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, select, -1, &statement, nullptr) == SQLITE_OK) {
            while (sqlite3_step(statement) == SQLITE_ROW) {
                for (int c = 0; c < sqlite3_column_count(statement); ++c) sqlite3_column_text(statement, c);
            }
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
}

void baseline(const SampleHome& home, const Workload& load, bool chrome) {
    for (int p = 0; p < kProfiles; ++p) readAll(database(home, chrome, p), chrome ? "SELECT * FROM cookies;" : "SELECT * FROM moz_cookies;");
    for (int p = 0; p < kProfiles; ++p) {
        std::string path = database(home, chrome, p);
        sqlite3* db = nullptr;
        if (!chrome) sqlite3_open(path.c_str(), &db);
        for (const std::string& statement : load.statements) {
            // Chromium-family stores take a connection per statement, as the worker does.
            if (chrome) sqlite3_open(path.c_str(), &db);
            sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr);
            if (chrome) sqlite3_close(db);
        }
        if (!chrome) sqlite3_close(db);
    }
}

void worker(const SampleHome& home, const Workload& load, bool chrome) {
    FakePlatform platform(home.root());
    WorkerAppDelegate delegate(platform);
    delegate.removeCookies(chrome ? kGoogleChrome : kFirefox, load.keep);
}

// The inventory alone: reading the stores and choosing the cookies to remove.
void inventory(const SampleHome& home, const Workload& load, bool chrome) {
    FakePlatform platform(home.root());
    WorkerAppDelegate delegate(platform);
    delegate.cookies(chrome ? kGoogleChrome : kFirefox, load.keep);
}

struct Measure {
    double seconds = 0;
    long maxResidentKb = 0;
};

// Builds a fresh home, then runs the work in a child process, timed there.
Measure measure(const Workload& load, bool chrome, void (*work)(const SampleHome&, const Workload&, bool)) {
    TemporaryFolder folder("tasselby-bench");
    SampleHome home(folder.path());
    writeHome(home, load, chrome);
    int times[2];
    if (pipe(times) != 0) std::exit(1);
    pid_t child = fork();
    if (child == 0) {
        auto start = std::chrono::steady_clock::now();
        work(home, load, chrome);
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        (void)!write(times[1], &seconds, sizeof seconds);
        _exit(0);
    }
    close(times[1]);
    Measure result;
    (void)!read(times[0], &result.seconds, sizeof result.seconds);
    close(times[0]);
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    result.maxResidentKb = usage.ru_maxrss;
    return result;
}

void report(std::size_t cookies, bool chrome, bool compare) {
    Workload load = makeWorkload(cookies, chrome);
    const char* name = chrome ? "Chrome" : "Firefox";
    std::size_t statements = load.statements.size() * kProfiles;
    Measure ours = measure(load, chrome, worker);
    std::printf("%-7s %6zu cookies, %5zu to remove, %6zu statements: worker %.3f s, max RSS %ld KiB\n", name, cookies,
                load.statements.size(), statements, ours.seconds, ours.maxResidentKb);
    if (!compare) return;
    Measure plain = measure(load, chrome, baseline);
    Measure reading = measure(load, chrome, inventory);
    std::printf("%-7s baseline %.3f s, %.1f us per statement; worker/baseline %.3f; worker's inventory alone %.3f s\n",
                name, plain.seconds, 1e6 * plain.seconds / static_cast<double>(statements),
                ours.seconds / plain.seconds, reading.seconds);
}

// The worker's peak resident memory over a Chrome home with this many
// cookies (none kept, so every row is removable).
long workerPeakKb(std::size_t cookies) {
    Workload load = makeWorkload(cookies, true);
    TemporaryFolder folder("tasselby-bench");
    SampleHome home(folder.path());
    writeHome(home, load, true);
    load = Workload();
    const std::string homeOption = "--home=" + home.root();
    pid_t child = fork();
    if (child == 0) {
        // No session bus and no display: no keyring, so no site is kept.
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        unsetenv("DISPLAY");
        execl(TASSELBY_WORKER, TASSELBY_WORKER, homeOption.c_str(), kGoogleChrome, static_cast<char*>(nullptr));
        _exit(127);
    }
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) std::printf("worker failed with status %d\n", status);
    if (!queryColumn(database(home, true, 0), "SELECT name FROM cookies").empty()) std::printf("cookies were left\n");
    return usage.ru_maxrss;
}

void reportPeaks() {
    const std::size_t sizes[] = {2000, 20000, 100000};
    long peaks[3] = {};
    for (int i = 0; i < 3; ++i) {
        peaks[i] = workerPeakKb(sizes[i]);
        std::printf("worker  %6zu cookies, all removable: peak %.1f MB\n", sizes[i], peaks[i] / 1024.0);
    }
    std::printf("worker  %.0f bytes per further removable row (20,000 to 100,000)\n",
                1024.0 * static_cast<double>(peaks[2] - peaks[1]) / static_cast<double>(sizes[2] - sizes[1]));
}

}  // namespace

int main(int argc, char* argv[]) {
    const bool peaksOnly = argc > 1 && std::string(argv[1]) == "--peaks";
    std::size_t cookies = argc > 1 && !peaksOnly ? std::strtoul(argv[1], nullptr, 10) : 20000;
    std::printf("SQLite %s\n", sqlite3_libversion());
    for (bool chrome : {true, false}) {
        if (peaksOnly) break;
        report(cookies, chrome, true);
        report(cookies / 10, chrome, false);
    }
    reportPeaks();
    return 0;
}
