// Cache removal by the built worker, measured against the system's own tools.
//
//   cmake --build build --target cache_bench && TMPDIR=/dev/shm ./build/cache_bench [FILES]
//
// The trees are built under TMPDIR. On a disk mounted with "discard" every
// unlink waits for the device, which hides the remover's own cost; a tmpfs
// such as /dev/shm measures the removal itself.
//
// 1. Time: the worker cleaning a Firefox profile whose disk cache holds FILES
//    files (default 50,000) in nested folders, against `rm -rf` of an
//    identical tree; the median of three rounds, as a ratio (goal: <= 1.2).
// 2. Memory: the worker's peak resident size for FILES files against a tenth
//    of them (goal: within 10%).
// 3. Overwriting: the worker on a Safari cache file with "secureDeleteData"
//    on (three passes of a 1024-byte pattern) beside plain removal; and the
//    same cache tree with the switch on, where folders are walked, not written.
// The worker runs without a session bus, so no keyring or notification
// service adds to its time.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/sample_home.h"

extern char** environ;

namespace {

using tasselby::testing::SampleHome;
using tasselby::testing::TemporaryFolder;

constexpr long kDefaultFiles = 50000;
constexpr std::size_t kEntrySize = 2048;
constexpr int kRounds = 3;
constexpr long kOverwriteBytes = 64L << 20;
constexpr const char* kProfileCache = "Library/Caches/Firefox/Profiles/q1w2e3r4.default/Cache";
constexpr const char* kSafariCacheDb = "Library/Caches/com.apple.Safari/Cache.db";

// A disk cache as browsers lay it out: fileCount files of fileSize bytes
// spread over 16 folders of up to 256 sub-folders each, under folder.
void writeDiskCache(const std::string& folder, long fileCount, std::size_t fileSize) {
    // Written with plain system calls, each folder made once: the benchmarks
    // build trees of many thousand files.
    constexpr long kTopFolders = 16;
    constexpr long kSubFolders = 256;
    long subFolders = std::min(kSubFolders, (fileCount + kTopFolders - 1) / kTopFolders);
    std::filesystem::create_directories(folder);
    char name[64];
    for (long top = 0; top < kTopFolders; ++top) {
        for (long sub = 0; sub < subFolders; ++sub) {
            std::snprintf(name, sizeof name, "/%lX/%02lX", top, sub);
            std::filesystem::create_directories(folder + name);
        }
    }
    const std::string contents(fileSize, 'e');
    for (long i = 0; i < fileCount; ++i) {
        // An odd multiplier scatters the names without ever repeating one.
        auto hash = static_cast<std::uint32_t>(static_cast<std::uint32_t>(i) * 2654435761u);
        std::snprintf(name, sizeof name, "/%lX/%02lX/%08X", i % kTopFolders, (i / kTopFolders) % subFolders,
                      static_cast<unsigned>(hash));
        std::string path = folder + name;
        int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || write(fd, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
            if (fd >= 0) close(fd);
            throw std::runtime_error("cannot write " + path);
        }
        close(fd);
    }
}

struct ChildRun {
    double seconds = 0;
    long peakKilobytes = 0;
};

// The environment without a session bus or display.
std::vector<char*> environmentWithoutBus() {
    std::vector<char*> kept;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string variable = *entry;
        if (variable.starts_with("DBUS_SESSION_BUS_ADDRESS=") || variable.starts_with("DISPLAY=")) continue;
        kept.push_back(*entry);
    }
    kept.push_back(nullptr);
    return kept;
}

ChildRun runChild(const std::vector<std::string>& command) {
    std::vector<char*> argv;
    for (const std::string& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> environment = environmentWithoutBus();
    auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environment.data()) != 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(command.front() + " failed");
    }
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return {elapsed.count(), usage.ru_maxrss};
}

// A home whose Firefox profile holds a disk cache of the given size.
struct CacheHome {
    CacheHome(long files, bool secureDelete) {
        home.writeSuitePreferences({{"secureDeleteData", secureDelete}});
        writeDiskCache(home.path(kProfileCache), files, kEntrySize);
    }
    ChildRun runWorker(const std::string& browser) {
        return runChild({TASSELBY_WORKER, "--home=" + folder.path(), "--system-root=" + systemRoot.path(), browser});
    }
    void requireGone(const std::string& relative) const {
        if (home.exists(relative)) throw std::runtime_error(relative + " survived the run");
    }

    TemporaryFolder folder{"tasselby-bench"};
    TemporaryFolder systemRoot{"tasselby-bench-system"};
    SampleHome home{folder.path()};
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compareWithRemoveAll(long files) {
    std::vector<double> worker, removeAll, ratios;
    for (int round = 0; round < kRounds; ++round) {
        CacheHome cleaned(files, false);
        CacheHome removed(files, false);
        worker.push_back(cleaned.runWorker("Firefox").seconds);
        cleaned.requireGone(kProfileCache);
        removeAll.push_back(runChild({"rm", "-rf", removed.home.path(kProfileCache)}).seconds);
        removed.requireGone(kProfileCache);
        ratios.push_back(worker.back() / removeAll.back());
    }
    std::printf("removal of %ld cache files: worker %.3f s, rm -rf %.3f s, ratio %.2f (goal <= 1.20)\n", files,
                median(worker), median(removeAll), median(ratios));
}

void compareMemory(long files) {
    long small = files / 10;
    long smallPeak = CacheHome(small, false).runWorker("Firefox").peakKilobytes;
    long largePeak = CacheHome(files, false).runWorker("Firefox").peakKilobytes;
    std::printf("peak resident memory: %ld files %ld KiB, %ld files %ld KiB, growth %+.1f%% (goal within 10%%)\n",
                small, smallPeak, files, largePeak, 100.0 * (largePeak - smallPeak) / smallPeak);
}

void compareOverwriting(long files) {
    double seconds[2];
    for (bool secureDelete : {false, true}) {
        CacheHome safari(0, secureDelete);
        safari.home.writeFile(kSafariCacheDb, std::string(kOverwriteBytes, 'c'));
        seconds[secureDelete] = safari.runWorker("Safari").seconds;
        safari.requireGone(kSafariCacheDb);
    }
    double megabytes = static_cast<double>(kOverwriteBytes) / (1 << 20);
    std::printf("cache file of %.0f MiB: plain removal %.3f s; secure %.3f s, %.0f MiB/s written over three passes\n",
                megabytes, seconds[0], seconds[1], 3 * megabytes / seconds[1]);

    double tree[2];
    for (bool secureDelete : {false, true}) {
        CacheHome firefox(files, secureDelete);
        tree[secureDelete] = firefox.runWorker("Firefox").seconds;
        firefox.requireGone(kProfileCache);
    }
    std::printf("cache tree of %ld files: plain %.3f s, secure %.3f s (folders are walked, not written), ratio %.2f\n",
                files, tree[0], tree[1], tree[1] / tree[0]);
}

}  // namespace

int main(int argc, char* argv[]) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    long files = argc > 1 ? std::atol(argv[1]) : kDefaultFiles;
    if (files < 10) {
        std::fprintf(stderr, "usage: cache_bench [FILES >= 10]\n");
        return 64;
    }
    try {
        compareWithRemoveAll(files);
        compareMemory(files);
        compareOverwriting(files);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "cache_bench: %s\n", failure.what());
        return 1;
    }
    return 0;
}
