#include "support/busy_executable.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tasselby::testing {

namespace {

constexpr const char* kSleepProgram = "/bin/sleep";
constexpr auto kStartLimit = std::chrono::seconds(5);

bool refusesWriting(const std::string& path) {
    int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd >= 0) close(fd);
    return fd < 0 && errno == ETXTBSY;
}

}  // namespace

BusyExecutable::BusyExecutable(const std::string& path) {
    namespace fs = std::filesystem;
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file(kSleepProgram, path, fs::copy_options::overwrite_existing);
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    contents_ = bytes.str();

    pid_ = fork();
    if (pid_ == 0) {
        execl(path.c_str(), path.c_str(), "600", static_cast<char*>(nullptr));
        _exit(127);
    }
    if (pid_ < 0) throw std::runtime_error("cannot start " + path);
    // The refusal begins once the child has replaced itself with the copy.
    auto deadline = std::chrono::steady_clock::now() + kStartLimit;
    while (!refusesWriting(path)) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            throw std::runtime_error(path + " never became busy");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

BusyExecutable::~BusyExecutable() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

}  // namespace tasselby::testing
