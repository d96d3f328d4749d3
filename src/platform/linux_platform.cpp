#include "platform/linux_platform.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/names.h"
#include "base/text.h"
#include "platform/binary_cookie_storage.h"
#include "platform/posix_files.h"

namespace tasselby {

namespace {

constexpr const char* kMacOSPreferences = "~/Library/Preferences";
constexpr const char* kLinuxPreferences = "~/.config/tasselby";
constexpr const char* kConfigHomeVariable = "XDG_CONFIG_HOME";
constexpr const char* kPreferencesFolderName = "tasselby";
// For tests only: a shorter stall limit for the keyring's answers, in
// milliseconds. Only ever shorter: a stalled keyring stops the run (status
// 75), which is safe, whereas a longer wait could keep a scheduled run
// waiting. Not documented for users.
constexpr const char* kKeyringStallVariable = "TASSELBY_KEYRING_STALL_MS";

std::chrono::milliseconds keyringStallLimit() {
    const char* text = std::getenv(kKeyringStallVariable);
    long milliseconds = 0;
    if (text == nullptr) return SecretServiceKeychain::kStallLimit;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, milliseconds);
    if (error != std::errc{} || stop != end || milliseconds <= 0) return SecretServiceKeychain::kStallLimit;
    return std::min(std::chrono::milliseconds(milliseconds), SecretServiceKeychain::kStallLimit);
}

}  // namespace

std::string LinuxPlatform::homeFolder(const CommandLine& commandLine) {
    if (commandLine.home) return *commandLine.home;
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) return entry->pw_dir;
    return "/";
}

std::string LinuxPlatform::preferencesFolder(const CommandLine& commandLine, const std::string& home) {
    if (commandLine.layout == Layout::MacOS) return tasselby::expandTilde(kMacOSPreferences, home);
    // Another person's home (--home) is read as that home lays it out; our
    // own environment says nothing about it.
    if (!commandLine.home) {
        const char* configHome = std::getenv(kConfigHomeVariable);
        if (configHome != nullptr && configHome[0] == '/') return appendingPathComponent(configHome, kPreferencesFolderName);
    }
    return tasselby::expandTilde(kLinuxPreferences, home);
}

LinuxPlatform::LinuxPlatform(const CommandLine& commandLine)
    : arguments_(commandLine.arguments),
      home_(homeFolder(commandLine)),
      systemRoot_(commandLine.systemRoot.value_or("/")),
      defaults_(preferencesFolder(commandLine, home_)),
      notifications_("Tasselby"),
      keychain_(SecretServiceKeychain::kSearchLimit, keyringStallLimit()),
      cookieStorage_(std::make_unique<BinaryCookieStorage>(tasselby::expandTilde(kSharedCookieFile, home_))) {
    defaults_.addDomain(kWorkerDomain);
}

LinuxPlatform::~LinuxPlatform() = default;

void LinuxPlatform::terminate() {
    std::fflush(nullptr);
    std::exit(0);
}

std::string LinuxPlatform::localizedString(const std::string& key, const std::string& value) {
    // The worker ships no translations.
    return value.empty() ? key : value;
}

HttpCookieStorage& LinuxPlatform::sharedHTTPCookieStorage() { return *cookieStorage_; }

std::string LinuxPlatform::systemPath(const std::string& absolutePath) {
    std::string root = systemRoot_;
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    if (root == "/") return absolutePath;
    return root + absolutePath;
}

bool LinuxPlatform::fileExists(const std::string& path) { return PosixFiles::fileExists(path); }
bool LinuxPlatform::isDirectory(const std::string& path) { return PosixFiles::isDirectory(path); }
FileType LinuxPlatform::fileType(const std::string& path) { return PosixFiles::fileType(path); }
std::vector<std::string> LinuxPlatform::contentsOfDirectory(const std::string& path) {
    return PosixFiles::contentsOfDirectory(path);
}
std::optional<std::string> LinuxPlatform::readUtf8File(const std::string& path) {
    return PosixFiles::readUtf8File(path);
}
bool LinuxPlatform::removeItem(const std::string& path) { return PosixFiles::removeItem(path); }
bool LinuxPlatform::replaceFileContents(const std::string& path, const std::string& contents,
                                        const std::optional<std::string>& retiredPath) {
    return PosixFiles::replaceFileContents(path, contents, retiredPath);
}
bool LinuxPlatform::isLockedByOtherProcess(const std::string& path) { return PosixFiles::isLockedByOtherProcess(path); }
int LinuxPlatform::openForOverwrite(const std::string& path) { return PosixFiles::openForOverwrite(path); }
std::optional<std::uint64_t> LinuxPlatform::sizeOfOpenFile(int fd) { return PosixFiles::sizeOfOpenFile(fd); }
long LinuxPlatform::writeToFile(int fd, const unsigned char* bytes, std::size_t count) {
    return PosixFiles::writeToFile(fd, bytes, count);
}
bool LinuxPlatform::closeFile(int fd) { return PosixFiles::closeFile(fd); }

}  // namespace tasselby
