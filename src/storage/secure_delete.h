#pragma once

#include <string>

#include "platform/platform.h"

namespace tasselby {

// Overwrites files in place before their removal. Never removes anything
// itself; every write goes through the platform.
class SecureDelete {
public:
    SecureDelete() = delete;

    // One overwrite pass (phase 1, 2 or 3) over the regular file at path,
    // never through a final link. NO when the file cannot be opened or its
    // writes stop making progress.
    static bool wipe(Platform& platform, const std::string& path, int phase);
    // The three passes over a file; a folder is walked without writing; a
    // symbolic link answers YES without any write, so that only the link goes.
    static bool wipe(Platform& platform, const std::string& path);
    // The three passes over the one file at path (a link: YES, unwritten).
    static bool wipeContentsofDir(Platform& platform, const std::string& path);
};

}  // namespace tasselby
