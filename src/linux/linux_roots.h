#pragma once

#include <string>

#include "platform/command_line.h"

namespace tasselby {

// The three base folders that the Linux layout's paths hang from: the home,
// the configuration home and the cache home. Without --home the environment's
// $XDG_CONFIG_HOME and $XDG_CACHE_HOME replace ".config" and ".cache" when set;
// with --home they are someone else's and are ignored.
struct LinuxRoots {
    std::string home;
    std::string config;
    std::string cache;

    // The roots for this process: the environment is read here, once.
    static LinuxRoots of(const CommandLine& commandLine, const std::string& home);
    // The roots of a home that is not ours (or a test's): ".config" and ".cache" inside it.
    static LinuxRoots inHome(const std::string& home);
};

}  // namespace tasselby
