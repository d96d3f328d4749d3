#pragma once

#include <sys/types.h>

#include <string>

namespace tasselby::testing {

// Another process that holds an fcntl write lock on a file (as a running
// browser holds a LevelDB's LOCK) until the object goes. The constructor
// returns once the lock is held; throws when it cannot be taken.
class LockHolder {
public:
    explicit LockHolder(const std::string& path);
    ~LockHolder();
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;

private:
    pid_t child_ = -1;
    int release_ = -1;  // closing it lets the child end
};

}  // namespace tasselby::testing
