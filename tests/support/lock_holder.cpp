#include "support/lock_holder.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace tasselby::testing {

LockHolder::LockHolder(const std::string& path) {
    int ready[2];
    int release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ < 0) throw std::runtime_error("no fork");
    if (child_ == 0) {
        close(ready[0]);
        close(release[1]);
        int fd = open(path.c_str(), O_RDWR | O_CREAT, 0600);
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        char answer = fd >= 0 && fcntl(fd, F_SETLK, &lock) == 0 ? 'y' : 'n';
        if (write(ready[1], &answer, 1) != 1) _exit(1);
        char ignored;
        // Holds the lock until the parent closes its end (or dies).
        while (read(release[0], &ignored, 1) > 0) {
        }
        _exit(0);
    }
    close(ready[1]);
    close(release[0]);
    release_ = release[1];
    char answer = 'n';
    bool held = read(ready[0], &answer, 1) == 1 && answer == 'y';
    close(ready[0]);
    if (!held) {
        this->~LockHolder();
        throw std::runtime_error("cannot lock " + path);
    }
}

LockHolder::~LockHolder() {
    if (release_ >= 0) close(release_);
    release_ = -1;
    if (child_ > 0) {
        int status = 0;
        waitpid(child_, &status, 0);
    }
    child_ = -1;
}

}  // namespace tasselby::testing
