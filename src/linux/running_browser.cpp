#include "linux/running_browser.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <limits.h>
#include <netinet/in.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <filesystem>

#include "base/text.h"
#include "linux/firefox_profile_lock.h"

namespace tasselby {

namespace {

constexpr const char* kSingletonLock = "SingletonLock";
constexpr const char* kFirefoxParentLock = ".parentlock";
constexpr const char* kFirefoxLockLink = "lock";
constexpr std::string_view kLoopbackPrefix = "127.";

}  // namespace

std::optional<RunningBrowser::LockOwner> RunningBrowser::parseSingletonLock(const std::string& target) {
    std::size_t dash = target.rfind('-');
    if (dash == std::string::npos || dash == 0 || dash + 1 == target.size()) return std::nullopt;
    long pid = 0;
    const char* first = target.data() + dash + 1;
    const char* last = target.data() + target.size();
    auto [end, error] = std::from_chars(first, last, pid);
    if (error != std::errc() || end != last || pid <= 0) return std::nullopt;
    return LockOwner{target.substr(0, dash), pid};
}

std::string RunningBrowser::hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    if (gethostname(name, sizeof name - 1) != 0) return {};
    return name;
}

bool RunningBrowser::processAlive(long pid) {
    if (pid <= 0 || pid > INT_MAX) return false;
    // Signal 0 only asks; EPERM means the process is there but not ours.
    return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

bool RunningBrowser::isLiveProcessOfThisHost(const std::string& host, long pid) {
    return !host.empty() && host == hostName() && processAlive(pid);
}

bool RunningBrowser::chromiumInstallRunning(const std::string& userData) {
    std::error_code error;
    std::filesystem::path target = std::filesystem::read_symlink(appendingPathComponent(userData, kSingletonLock), error);
    if (error) return false;
    std::optional<LockOwner> owner = parseSingletonLock(target.string());
    return owner && isLiveProcessOfThisHost(owner->host, owner->pid);
}

bool RunningBrowser::isThisHostAddress(const std::string& address) {
    in_addr wanted{};
    if (inet_pton(AF_INET, address.c_str(), &wanted) != 1) return false;
    if (address.starts_with(kLoopbackPrefix)) return true;
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0) return false;
    bool found = false;
    for (ifaddrs* each = interfaces; each != nullptr && !found; each = each->ifa_next) {
        if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET) continue;
        found = reinterpret_cast<const sockaddr_in*>(each->ifa_addr)->sin_addr.s_addr == wanted.s_addr;
    }
    freeifaddrs(interfaces);
    return found;
}

bool RunningBrowser::firefoxProfileRunning(Platform& platform, const std::string& profile) {
    if (platform.isLockedByOtherProcess(appendingPathComponent(profile, kFirefoxParentLock))) return true;
    std::error_code error;
    std::filesystem::path target = std::filesystem::read_symlink(appendingPathComponent(profile, kFirefoxLockLink), error);
    if (error) return false;
    std::optional<FirefoxLockLink> link = FirefoxLockLink::parse(target.string());
    return link && isThisHostAddress(link->address) && processAlive(link->pid);
}

}  // namespace tasselby
