#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/command_line.h"
#include "platform/desktop_notification_center.h"
#include "platform/platform.h"
#include "platform/property_list_defaults.h"
#include "platform/secret_service_keychain.h"

namespace tasselby {

// The worker's own preference domain, searched before the main application's suite.
inline constexpr const char* kWorkerDomain = "com.marrowgatestudios.TasselbyWorker";

// Reported as the CoreFoundation-style version: the notification centre is there.
inline constexpr double kLinuxFoundationVersion = 1000.0;

// The platform on Linux: property lists for preferences, the Secret Service
// for saved passwords, the binary cookie file for the shared cookie storage
// and desktop notifications.
class LinuxPlatform : public Platform {
public:
    explicit LinuxPlatform(const CommandLine& commandLine);
    ~LinuxPlatform() override;

    std::vector<std::string> arguments() override { return arguments_; }
    [[noreturn]] void terminate() override;
    double coreFoundationVersionNumber() override { return kLinuxFoundationVersion; }

    void addSuiteNamed(const std::string& suiteName) override { defaults_.addDomain(suiteName); }
    bool boolForKey(const std::string& key) override { return defaults_.boolForKey(key); }
    std::string localizedString(const std::string& key, const std::string& value) override;

    UserNotificationCenter& defaultUserNotificationCenter() override { return notifications_; }
    KeychainSearchResult copyMatching(const KeychainQuery& query) override { return keychain_.copyMatching(query); }
    HttpCookieStorage& sharedHTTPCookieStorage() override;

    std::string homeDirectory() override { return home_; }
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

    // The home folder: the option's, else $HOME, else the password database's.
    static std::string homeFolder(const CommandLine& commandLine);
    // The folder of the preference property lists: "~/Library/Preferences"
    // in the macOS layout; in the Linux layout "$XDG_CONFIG_HOME/tasselby"
    // when that is set and no --home was given, else "~/.config/tasselby".
    static std::string preferencesFolder(const CommandLine& commandLine, const std::string& home);

private:
    std::vector<std::string> arguments_;
    std::string home_;
    std::string systemRoot_;
    PropertyListDefaults defaults_;
    DesktopNotificationCenter notifications_;
    SecretServiceKeychain keychain_;
    std::unique_ptr<HttpCookieStorage> cookieStorage_;
};

}  // namespace tasselby
