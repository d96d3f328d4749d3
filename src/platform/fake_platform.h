#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// Records what was posted and removed, so tests can assert on it.
class FakeNotificationCenter : public UserNotificationCenter {
public:
    void setDelegate(UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
    UserNotificationCenterDelegate* delegate() const override { return delegate_; }
    void scheduleNotification(const UserNotification& notification) override;
    void removeDeliveredNotification(const UserNotification& notification) override;

    std::vector<UserNotification> scheduled;
    std::vector<std::uint32_t> removed;

private:
    UserNotificationCenterDelegate* delegate_ = nullptr;
};

// An in-memory shared cookie storage.
class FakeCookieStorage : public HttpCookieStorage {
public:
    std::vector<HttpCookie> cookies() override { return stored; }
    void deleteCookie(const HttpCookie& cookie) override;
    void flush() override { flushedAfter.push_back(deleted.size()); }

    std::vector<HttpCookie> stored;
    std::vector<HttpCookie> deleted;
    std::vector<std::size_t> flushedAfter;  // per flush, how many deletions preceded it
};

// The test double of the platform: services are in memory, files are the real
// files under the test's own folders, and every destructive step is recorded.
// Chosen paths can be made to refuse an overwrite.
class FakePlatform : public Platform {
public:
    // Thrown by terminate(), which must not return.
    struct Terminated {};

    explicit FakePlatform(std::string home);

    std::vector<std::string> arguments() override { return args; }
    [[noreturn]] void terminate() override;
    double coreFoundationVersionNumber() override { return versionNumber; }

    void addSuiteNamed(const std::string& suiteName) override { suitesAdded.push_back(suiteName); }
    bool boolForKey(const std::string& key) override;
    std::string localizedString(const std::string& key, const std::string& value) override;

    UserNotificationCenter& defaultUserNotificationCenter() override { return center; }
    KeychainSearchResult copyMatching(const KeychainQuery& query) override;
    HttpCookieStorage& sharedHTTPCookieStorage() override { return cookieStorage; }

    std::string homeDirectory() override { return home; }
    std::string systemPath(const std::string& absolutePath) override;

    bool fileExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    FileType fileType(const std::string& path) override;
    std::vector<std::string> contentsOfDirectory(const std::string& path) override;
    std::optional<std::string> readUtf8File(const std::string& path) override;
    bool removeItem(const std::string& path) override;
    bool replaceFileContents(const std::string& path, const std::string& contents,
                             const std::optional<std::string>& retiredPath) override;
    bool isLockedByOtherProcess(const std::string& path) override;

    int openForOverwrite(const std::string& path) override;
    std::optional<std::uint64_t> sizeOfOpenFile(int fd) override;
    long writeToFile(int fd, const unsigned char* bytes, std::size_t count) override;
    bool closeFile(int fd) override;

    void setBool(const std::string& key, bool value) { defaults[key] = value; }

    // Configuration.
    std::string home;
    std::string systemRoot = "/";
    std::vector<std::string> args;
    double versionNumber = 1000.0;
    std::map<std::string, bool> defaults;
    std::map<std::string, std::string> localizations;
    std::vector<KeychainAttributes> keychainItems;
    std::int32_t keychainStatus = kErrSecSuccess;
    std::set<std::string> refuseOverwrite;  // openForOverwrite fails for these paths
    std::set<std::string> lockedFiles;      // held by another process, as far as the worker can tell

    // Records.
    FakeNotificationCenter center;
    FakeCookieStorage cookieStorage;
    std::vector<std::string> suitesAdded;
    std::vector<KeychainQuery> keychainQueries;
    std::vector<std::string> removed;      // every removeItem call, in order
    std::vector<std::string> overwritten;  // every path opened for overwriting
    std::vector<std::string> replaced;     // every file whose contents were replaced
    std::map<int, std::string> openFiles;
    int terminations = 0;
};

}  // namespace tasselby
