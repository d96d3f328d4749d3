#pragma once

#include <string>
#include <sys/types.h>

namespace tasselby::testing {

// A copy of an executable, kept running for the object's lifetime. While it
// runs the system refuses to open the copy for writing (ETXTBSY), even to
// root, so it stands for a file the worker cannot overwrite.
class BusyExecutable {
public:
    // Copies a long-running program to path (making its folders) and starts it.
    explicit BusyExecutable(const std::string& path);
    ~BusyExecutable();
    BusyExecutable(const BusyExecutable&) = delete;
    BusyExecutable& operator=(const BusyExecutable&) = delete;

    // The copy's bytes as they were before it started.
    const std::string& contents() const { return contents_; }

private:
    pid_t pid_ = -1;
    std::string contents_;
};

}  // namespace tasselby::testing
