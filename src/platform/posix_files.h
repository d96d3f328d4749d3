#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// The plain POSIX implementation of the seam's file operations, shared by the
// Linux backend and the test fake.
class PosixFiles {
public:
    // No store the worker reads comes near this; a larger file is not read.
    static constexpr std::uint64_t kMaxWholeFileSize = std::uint64_t{256} << 20;

    static bool fileExists(const std::string& path);
    static bool isDirectory(const std::string& path);
    static FileType fileType(const std::string& path);
    static std::vector<std::string> contentsOfDirectory(const std::string& path);
    // The bytes of a regular file of at most kMaxWholeFileSize bytes, links
    // followed; nothing for anything else (missing, unreadable, a folder, a
    // named pipe, a device, too large). Never waits for a writer.
    static std::optional<std::string> readWholeFile(const std::string& path);
    // readWholeFile, and nothing unless the bytes are valid UTF-8.
    static std::optional<std::string> readUtf8File(const std::string& path);
    static bool removeItem(const std::string& path);
    static bool replaceFileContents(const std::string& path, const std::string& contents,
                                    const std::optional<std::string>& retiredPath);
    static bool isLockedByOtherProcess(const std::string& path);

    // A regular file opened read-write; -1 for anything else, a final
    // symbolic link included.
    static int openForOverwrite(const std::string& path);
    static std::optional<std::uint64_t> sizeOfOpenFile(int fd);
    static long writeToFile(int fd, const unsigned char* bytes, std::size_t count);
    static bool closeFile(int fd);
    // Writes every byte, retrying after an interruption; false on the first
    // write that fails or takes nothing.
    static bool writeAll(int fd, std::string_view bytes);
};

// Whether the bytes are well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValidUtf8(const std::string& bytes);

}  // namespace tasselby
