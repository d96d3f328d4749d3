#pragma once

#include <optional>
#include <string>

#include "platform/platform.h"

namespace tasselby {

// Whether a browser holds an install or profile right now. Only reads: no
// lock is taken or broken.
class RunningBrowser {
public:
    RunningBrowser() = delete;

    // A Chromium-family install runs when its "SingletonLock" is a symbolic
    // link to "HOSTNAME-PID" naming this machine and a live process. A stale
    // link (a dead process, another machine) or anything else is not running.
    static bool chromiumInstallRunning(const std::string& userData);

    // The host and process of a "HOSTNAME-PID" lock text (the host may hold
    // "-" itself: the process is after the last one). Nothing when malformed.
    struct LockOwner {
        std::string host;
        long pid = 0;
    };
    static std::optional<LockOwner> parseSingletonLock(const std::string& target);

    // Whether the process lives on this machine: host is this machine's name
    // and the process exists (one of another user counts as alive).
    static bool isLiveProcessOfThisHost(const std::string& host, long pid);
    static bool processAlive(long pid);

    // A Firefox profile runs when another process holds the fcntl lock of its
    // ".parentlock", or its "lock" link ("ADDRESS:+PID") names a live process
    // of this machine. A stale link does not count.
    static bool firefoxProfileRunning(Platform& platform, const std::string& profile);
    // Whether an IPv4 address text is this machine's: a loopback address
    // (Firefox falls back to one, and Debian names the host 127.0.1.1) or the
    // address of one of its network interfaces. No name is looked up.
    static bool isThisHostAddress(const std::string& address);
    static std::string hostName();
};

}  // namespace tasselby
