#include "platform/fake_platform.h"

#include <algorithm>

#include "platform/posix_files.h"

namespace tasselby {

void FakeNotificationCenter::scheduleNotification(const UserNotification& notification) {
    scheduled.push_back(notification);
    scheduled.back().identifier = static_cast<std::uint32_t>(scheduled.size());
}

void FakeNotificationCenter::removeDeliveredNotification(const UserNotification& notification) {
    removed.push_back(notification.identifier);
}

void FakeCookieStorage::deleteCookie(const HttpCookie& cookie) {
    deleted.push_back(cookie);
    auto found = std::find(stored.begin(), stored.end(), cookie);
    if (found != stored.end()) stored.erase(found);
}

FakePlatform::FakePlatform(std::string homeFolder) : home(std::move(homeFolder)) {}

void FakePlatform::terminate() {
    ++terminations;
    throw Terminated{};
}

bool FakePlatform::boolForKey(const std::string& key) {
    auto found = defaults.find(key);
    return found != defaults.end() && found->second;
}

std::string FakePlatform::localizedString(const std::string& key, const std::string& value) {
    auto found = localizations.find(key);
    if (found != localizations.end()) return found->second;
    return value.empty() ? key : value;
}

KeychainSearchResult FakePlatform::copyMatching(const KeychainQuery& query) {
    keychainQueries.push_back(query);
    if (keychainStatus != kErrSecSuccess) return {keychainStatus, std::nullopt};
    if (keychainItems.empty()) return {kErrSecItemNotFound, std::nullopt};
    return {kErrSecSuccess, keychainItems};
}

std::string FakePlatform::systemPath(const std::string& absolutePath) {
    if (systemRoot == "/") return absolutePath;
    return systemRoot + absolutePath;
}

bool FakePlatform::fileExists(const std::string& path) { return PosixFiles::fileExists(path); }
bool FakePlatform::isDirectory(const std::string& path) { return PosixFiles::isDirectory(path); }
FileType FakePlatform::fileType(const std::string& path) { return PosixFiles::fileType(path); }
std::vector<std::string> FakePlatform::contentsOfDirectory(const std::string& path) {
    return PosixFiles::contentsOfDirectory(path);
}
std::optional<std::string> FakePlatform::readUtf8File(const std::string& path) {
    return PosixFiles::readUtf8File(path);
}

bool FakePlatform::removeItem(const std::string& path) {
    removed.push_back(path);
    return PosixFiles::removeItem(path);
}

bool FakePlatform::replaceFileContents(const std::string& path, const std::string& contents,
                                       const std::optional<std::string>& retiredPath) {
    replaced.push_back(path);
    return PosixFiles::replaceFileContents(path, contents, retiredPath);
}

bool FakePlatform::isLockedByOtherProcess(const std::string& path) {
    return lockedFiles.count(path) != 0 || PosixFiles::isLockedByOtherProcess(path);
}

int FakePlatform::openForOverwrite(const std::string& path) {
    if (refuseOverwrite.count(path) != 0) return -1;
    int fd = PosixFiles::openForOverwrite(path);
    if (fd >= 0) {
        overwritten.push_back(path);
        openFiles[fd] = path;
    }
    return fd;
}

std::optional<std::uint64_t> FakePlatform::sizeOfOpenFile(int fd) { return PosixFiles::sizeOfOpenFile(fd); }

long FakePlatform::writeToFile(int fd, const unsigned char* bytes, std::size_t count) {
    return PosixFiles::writeToFile(fd, bytes, count);
}

bool FakePlatform::closeFile(int fd) {
    openFiles.erase(fd);
    return PosixFiles::closeFile(fd);
}

}  // namespace tasselby
