// Times the web storage sweep over a large Chrome home (three profiles, each
// with 2,000 local-storage files and 500 web-database origins) and a Firefox
// store of 50,000 rows over 2,000 scopes, against the bare work it stands
// for: removing the same files with rm and running the same statements
// through the SQLite C library. Prints both and their ratio; exits 1 when the
// sweep takes 1.2 times the bare work or more.
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/names.h"
#include "base/text.h"
#include "app/worker_app_delegate.h"
#include "platform/command_line.h"
#include "platform/linux_platform.h"
#include "support/password_stores.h"
#include "support/sample_home.h"
#include "support/web_storage_stores.h"

extern char** environ;

namespace {

using namespace tasselby;
using namespace tasselby::testing;
namespace fs = std::filesystem;

constexpr int kProfiles = 3;
constexpr int kLocalStorageFiles = 2000;
constexpr int kWebDatabaseOrigins = 500;
constexpr int kScopes = 2000;
constexpr int kKeysPerScope = 25;
constexpr int kKeptEvery = 4;  // every fourth site is on the keep list
constexpr int kRounds = 3;
constexpr double kLimit = 1.2;
constexpr std::size_t kPathsPerRm = 1000;

std::string profileFolder(int profile) {
    return std::string(kChromeRoot) + "/" + (profile == 0 ? "Default" : "Profile " + std::to_string(profile));
}
std::string site(int i) { return "site" + std::to_string(i) + ".com"; }
std::string origin(int i) { return "https_www." + site(i) + "_0"; }
std::string scope(int i) {
    std::string host = "www." + site(i);
    return std::string(host.rbegin(), host.rend()) + ".:https:443";
}
const std::string kFirefoxStore = std::string(kFirefoxProfilesRoot) + "/bench.default/webappsstore.sqlite";

// What the sweep does, written out by hand: the files to remove and, per
// database, the statements to run.
struct BareWork {
    std::vector<std::string> files;
    std::vector<std::pair<std::string, std::vector<std::string>>> statements;
};

KeepList keepList() {
    KeepList keep;
    for (int i = 0; i < kLocalStorageFiles * kKeptEvery / 2; i += kKeptEvery) keep.push_back(site(i));
    return keep;  // 1,000 sites
}

BareWork buildHome(const SampleHome& home) {
    WebStorageStores stores(home);
    BareWork work;
    std::vector<std::pair<std::string, std::string>> profiles;
    for (int p = 0; p < kProfiles; ++p) {
        std::string folder = profileFolder(p);
        profiles.emplace_back(lastPathComponent(folder), "Person " + std::to_string(p));
        std::vector<WebDatabase> databases;
        std::vector<std::string> origins;
        for (int i = 0; i < kWebDatabaseOrigins; ++i) {
            databases.push_back({origin(i)});
            origins.push_back(origin(i));
            work.files.push_back(home.path(folder + "/databases/" + origin(i)));
        }
        std::string index = stores.writeDatabases(folder + "/databases", DatabasesFormat::Chromium, databases);
        work.statements.push_back({index,
                                   {"SELECT origin FROM Databases;",
                                    "DELETE FROM Databases WHERE origin IN ('" +
                                        componentsJoinedByString(origins, "','") + "');"}});
        for (int i = 0; i < kLocalStorageFiles; ++i) {
            std::string file = stores.writeLocalStorage(folder + "/Local Storage", origin(i), i % 2 == 0);
            if (i % kKeptEvery == 0) continue;
            work.files.push_back(file);
            work.files.push_back(file + "-journal");
        }
    }
    home.writeLocalState(kChromeRoot, profiles);

    std::vector<MozillaItem> items;
    std::vector<std::string> chosenScopes;
    for (int i = 0; i < kScopes; ++i) {
        for (int k = 0; k < kKeysPerScope; ++k) {
            items.push_back({scope(i), "key" + std::to_string(k)});
            if (i % kKeptEvery != 0) chosenScopes.push_back(scope(i));
        }
    }
    // Rows come back in insertion order, so the chosen scopes stand in the
    // order the sweep names them.
    std::string store = stores.writeWebappsstore(kFirefoxStore, items);
    work.statements.push_back({store,
                               {"SELECT * FROM webappsstore2;", "DELETE FROM webappsstore2 WHERE scope IN ('" +
                                                                    componentsJoinedByString(chosenScopes, "','") +
                                                                    "');"}});
    return work;
}

double secondsOf(const std::function<void()>& work) {
    auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void removeWithRm(const std::vector<std::string>& files) {
    for (std::size_t first = 0; first < files.size(); first += kPathsPerRm) {
        std::vector<char*> argv = {const_cast<char*>("rm"), const_cast<char*>("-rf"), const_cast<char*>("--")};
        for (std::size_t i = first; i < std::min(files.size(), first + kPathsPerRm); ++i) {
            argv.push_back(const_cast<char*>(files[i].c_str()));
        }
        argv.push_back(nullptr);
        pid_t pid = 0;
        int status = 0;
        if (posix_spawnp(&pid, "rm", nullptr, nullptr, argv.data(), environ) != 0 || waitpid(pid, &status, 0) < 0) {
            std::fprintf(stderr, "rm failed\n");
        }
    }
}

// Every statement stepped to the end, each row's columns read, as the
// access layer does.
void runStatements(const BareWork& work) {
    for (const auto& [path, statements] : work.statements) {
        sqlite3* db = nullptr;
        sqlite3_open(path.c_str(), &db);
        for (const std::string& sql : statements) {
            sqlite3_stmt* statement = nullptr;
            if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) continue;
            while (sqlite3_step(statement) == SQLITE_ROW) {
                for (int c = 0; c < sqlite3_column_count(statement); ++c) sqlite3_column_text(statement, c);
            }
            sqlite3_finalize(statement);
        }
        sqlite3_close(db);
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main() {
    TemporaryFolder templateFolder("tasselby-bench-template");
    SampleHome templateHome(templateFolder.path());
    std::printf("building the home: %d Chrome profiles x (%d local-storage files, %d web-database origins), "
                "Firefox store of %d rows over %d scopes\n",
                kProfiles, kLocalStorageFiles, kWebDatabaseOrigins, kScopes * kKeysPerScope, kScopes);
    BareWork templateWork = buildHome(templateHome);
    KeepList keep = keepList();

    std::vector<double> sweepTimes, bareTimes, rmTimes;
    long chosen = 0;
    auto sweepOnce = [&] {
        TemporaryFolder folder("tasselby-bench-sweep");
        fs::copy(templateFolder.path(), folder.path(), fs::copy_options::recursive);
        CommandLine line;
        line.home = folder.path();
        LinuxPlatform platform(line);
        WorkerAppDelegate delegate(platform);
        sync();  // the copy's writes are not left to land during the timing
        sweepTimes.push_back(secondsOf([&] {
            chosen = delegate.removeNonFavLocalStorage(kGoogleChrome, keep) +
                     delegate.removeNonFavLocalStorage(kFirefox, keep);
        }));
    };
    auto bareOnce = [&] {
        TemporaryFolder folder("tasselby-bench-bare");
        fs::copy(templateFolder.path(), folder.path(), fs::copy_options::recursive);
        // The same work with the paths moved into this copy.
        BareWork work = templateWork;
        auto relocate = [&](std::string& path) { path = folder.path() + path.substr(templateFolder.path().size()); };
        std::for_each(work.files.begin(), work.files.end(), relocate);
        for (auto& statement : work.statements) relocate(statement.first);
        sync();
        rmTimes.push_back(secondsOf([&] { removeWithRm(work.files); }));
        bareTimes.push_back(rmTimes.back() + secondsOf([&] { runStatements(work); }));
    };
    for (int round = 0; round < kRounds; ++round) {
        // Alternating which goes first evens out what the disk still owes the other.
        if (round % 2 == 0) {
            sweepOnce();
            bareOnce();
        } else {
            bareOnce();
            sweepOnce();
        }
        std::printf("round %d: sweep %.3f s, rm + SQLite %.3f s (rm %.3f s)\n", round + 1, sweepTimes.back(),
                    bareTimes.back(), rmTimes.back());
    }
    double ratio = median(sweepTimes) / median(bareTimes);
    std::printf("items chosen by the sweep: %ld\n", chosen);
    std::printf("median: sweep %.3f s, rm + SQLite %.3f s, ratio %.2f (limit %.1f)\n", median(sweepTimes),
                median(bareTimes), ratio, kLimit);
    return ratio < kLimit ? 0 : 1;
}
