#pragma once

#include <string>

#include "platform/platform.h"

namespace tasselby {

// Overwrites files in place before their removal. Never removes anything
// itself; every write goes through the platform.
class SecureDelete {
public:
    SecureDelete() = delete;

    // One overwrite pass (phase 1, 2 or 3) over the file at path.
    static bool wipe(Platform& platform, const std::string& path, int phase);
    // The three passes over a file; a folder is walked without writing.
    static bool wipe(Platform& platform, const std::string& path);
    // The three passes over the one file at path.
    static bool wipeContentsofDir(Platform& platform, const std::string& path);
};

}  // namespace tasselby
