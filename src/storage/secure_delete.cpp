#include "storage/secure_delete.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include <sys/random.h>
#include <time.h>
#include <unistd.h>

#include "base/text.h"

namespace tasselby {

namespace {

constexpr std::size_t kPassBufferSize = 1024;
constexpr unsigned char kPhaseOneByte = 0x55;
constexpr unsigned char kPhaseTwoByte = 0xAA;
// Random bytes are taken modulo this, so 0xFF never appears in the last pass.
constexpr unsigned kRandomModulus = 255;
// Writes in a row that take no byte before a pass gives up.
constexpr int kMaxStalledWrites = 4;

// A seed from the system's random source. getrandom cannot throw, unlike
// std::random_device; should the source fail, the clock and the process id
// still give every call a seed of its own.
std::uint32_t systemSeed() {
    std::uint32_t seed = 0;
    if (getrandom(&seed, sizeof seed, 0) == static_cast<ssize_t>(sizeof seed)) return seed;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_nsec) ^ static_cast<std::uint32_t>(now.tv_sec) ^
           static_cast<std::uint32_t>(getpid());
}

// Fills the buffer for one pass; false for a phase that does not exist.
bool fillPassBuffer(unsigned char (&buffer)[kPassBufferSize], int phase) {
    switch (phase) {
        case 1:
            std::fill(std::begin(buffer), std::end(buffer), kPhaseOneByte);
            return true;
        case 2:
            std::fill(std::begin(buffer), std::end(buffer), kPhaseTwoByte);
            return true;
        case 3: {
            // A fresh seed from the system's random source on every call, so
            // no two files (and no two runs) share the last pattern.
            std::mt19937 generator(systemSeed());
            for (unsigned char& byte : buffer) byte = static_cast<unsigned char>(generator() % kRandomModulus);
            return true;
        }
        default:
            return false;
    }
}

// Phases 1, 2 and 3 in order, each reopening the file; the first failure ends it.
bool threePasses(Platform& platform, const std::string& path) {
    for (int phase = 1; phase <= 3; ++phase) {
        if (!SecureDelete::wipe(platform, path, phase)) return false;
    }
    return true;
}

// Visits every item below the folder, one listing at a time, never through a
// link. Nothing is written: an item would only be overwritten if the folder
// itself had turned into a file, a test made on the folder and not on the
// item. Folders are therefore removed plainly by the disposal rule after
// this walk; that is how folder wiping has always behaved, and it stays.
bool walkFolder(Platform& platform, const std::string& root, const std::string& folder) {
    for (const std::string& name : platform.contentsOfDirectory(folder)) {
        std::string item = appendingPathComponent(folder, name);
        if (platform.fileExists(root) && !platform.isDirectory(root) &&
            !SecureDelete::wipeContentsofDir(platform, expandTilde(item, platform.homeDirectory()))) {
            return false;
        }
        if (platform.fileType(item) == FileType::Directory && !walkFolder(platform, root, item)) return false;
    }
    return true;
}

}  // namespace

bool SecureDelete::wipe(Platform& platform, const std::string& path, int phase) {
    int fd = platform.openForOverwrite(path);
    if (fd < 0) return false;

    // The two early answers below leave the descriptor open on purpose: they
    // keep the exact behaviour the overwrite has always had, and the worker is
    // a one-shot process, so the system takes the descriptor back at exit.
    std::optional<std::uint64_t> size = platform.sizeOfOpenFile(fd);
    if (!size) return false;
    unsigned char buffer[kPassBufferSize];
    if (!fillPassBuffer(buffer, phase)) return false;

    // Only the low 32 bits of the size count. A failed write's -1 is
    // subtracted as it stands: the loop runs until the count is exactly 0.
    // Writes that keep failing (a full disk under a sparse file, an I/O
    // error) would make that wait endless, so a run of writes that take
    // nothing ends the pass with NO, and the file is not removed.
    std::uint32_t remaining = static_cast<std::uint32_t>(*size);
    int stalled = 0;
    while (remaining != 0) {
        std::uint32_t chunk = std::min<std::uint32_t>(remaining, kPassBufferSize);
        long written = platform.writeToFile(fd, buffer, chunk);
        remaining -= static_cast<std::uint32_t>(written);
        stalled = written > 0 ? 0 : stalled + 1;
        if (stalled == kMaxStalledWrites) {
            platform.closeFile(fd);
            return false;
        }
    }
    return platform.closeFile(fd);
}

bool SecureDelete::wipe(Platform& platform, const std::string& path) {
    // A link holds none of the data: there is nothing of ours to overwrite,
    // and its target, wherever it is, is never written. Its removal then
    // takes the link alone.
    if (platform.fileType(path) == FileType::SymbolicLink) return true;
    if (!platform.fileExists(path)) return true;
    if (platform.isDirectory(path)) return walkFolder(platform, path, path);
    return threePasses(platform, path);
}

bool SecureDelete::wipeContentsofDir(Platform& platform, const std::string& path) {
    if (platform.fileType(path) == FileType::SymbolicLink) return true;
    if (!platform.fileExists(path)) return true;
    return threePasses(platform, path);
}

}  // namespace tasselby
