#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// The platform of a dry run: a decorator over the real one that lets every
// question through and every destructive step fall short of the disk.
// - removeItem records the item and answers that it is gone; from then on
//   the item and everything below it read as missing (listings leave it out),
//   so later steps see what they would see after a real removal;
// - overwriting opens the file as a real run would (so that the same files
//   fail) but writes nothing;
// - the shared cookie storage forgets deleted cookies in memory and never
//   flushes;
// - the notification centre takes notifications without posting them;
// - readOnly() is true, so databases are opened read-only.
// What reaches the disk only through SQLite is not hidden: a store's rows
// read the same after a would-be deletion.
class DryRunPlatform : public Platform {
public:
    explicit DryRunPlatform(Platform& real);

    // Every item a removal was asked for while it existed, in order.
    const std::vector<std::string>& removals() const { return removals_; }

    std::vector<std::string> arguments() override { return real_.arguments(); }
    [[noreturn]] void terminate() override;
    double coreFoundationVersionNumber() override { return real_.coreFoundationVersionNumber(); }
    void addSuiteNamed(const std::string& suiteName) override { real_.addSuiteNamed(suiteName); }
    bool boolForKey(const std::string& key) override { return real_.boolForKey(key); }
    std::string localizedString(const std::string& key, const std::string& value) override {
        return real_.localizedString(key, value);
    }
    UserNotificationCenter& defaultUserNotificationCenter() override { return notifications_; }
    KeychainSearchResult copyMatching(const KeychainQuery& query) override { return real_.copyMatching(query); }
    HttpCookieStorage& sharedHTTPCookieStorage() override;
    std::string homeDirectory() override { return real_.homeDirectory(); }
    std::string systemPath(const std::string& absolutePath) override { return real_.systemPath(absolutePath); }

    bool fileExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    FileType fileType(const std::string& path) override;
    std::vector<std::string> contentsOfDirectory(const std::string& path) override;
    std::optional<std::string> readUtf8File(const std::string& path) override;
    bool removeItem(const std::string& path) override;
    // A replacement is reported as made and writes nothing.
    bool replaceFileContents(const std::string&, const std::string&, const std::optional<std::string>&) override {
        return true;
    }
    bool isLockedByOtherProcess(const std::string& path) override { return real_.isLockedByOtherProcess(path); }

    int openForOverwrite(const std::string& path) override;
    std::optional<std::uint64_t> sizeOfOpenFile(int fd) override { return real_.sizeOfOpenFile(fd); }
    long writeToFile(int fd, const unsigned char* bytes, std::size_t count) override;
    bool closeFile(int fd) override { return real_.closeFile(fd); }

    bool readOnly() override { return true; }

private:
    // Takes notifications and keeps them to itself.
    class SilentCenter : public UserNotificationCenter {
    public:
        void setDelegate(UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
        UserNotificationCenterDelegate* delegate() const override { return delegate_; }
        void scheduleNotification(const UserNotification&) override {}
        void removeDeliveredNotification(const UserNotification&) override {}

    private:
        UserNotificationCenterDelegate* delegate_ = nullptr;
    };

    // The real storage's cookies less those deleted in this run.
    class CookieView : public HttpCookieStorage {
    public:
        explicit CookieView(DryRunPlatform& owner) : owner_(owner) {}
        std::vector<HttpCookie> cookies() override;
        void deleteCookie(const HttpCookie& cookie) override { deleted_.push_back(cookie); }
        void flush() override {}

    private:
        DryRunPlatform& owner_;
        std::vector<HttpCookie> deleted_;
    };

    // Whether the path or a folder above it was removed in this run.
    bool hidden(const std::string& path) const;

    Platform& real_;
    SilentCenter notifications_;
    CookieView cookies_{*this};
    std::set<std::string> removed_;  // tidied paths
    std::vector<std::string> removals_;
};

}  // namespace tasselby
