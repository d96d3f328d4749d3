#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tasselby {

// The kind of an item on disk, read without following a final symbolic link.
enum class FileType { None, Regular, Directory, SymbolicLink, Other };

// One user notification as the worker hands it to the notification centre.
// The report goes into the subtitle line; the body stays empty.
struct UserNotification {
    std::string title;
    std::string subtitle;
    std::string informativeText;
    bool hasActionButton = false;
    std::optional<std::string> soundName;  // nothing: silent
    double deliveryDelaySeconds = 0;       // delivery date, as seconds from now
    std::uint32_t identifier = 0;          // given by the centre once scheduled
};

class UserNotificationCenter;

// The two questions the notification centre asks its delegate.
class UserNotificationCenterDelegate {
public:
    virtual ~UserNotificationCenterDelegate() = default;
    virtual void didActivateNotification(UserNotificationCenter& center,
                                         const UserNotification& notification) = 0;
    virtual bool shouldPresentNotification(UserNotificationCenter& center,
                                           const UserNotification& notification) = 0;
};

class UserNotificationCenter {
public:
    virtual ~UserNotificationCenter() = default;
    virtual void setDelegate(UserNotificationCenterDelegate* delegate) = 0;
    virtual UserNotificationCenterDelegate* delegate() const = 0;
    // Hands the notification over for delivery; the centre shows it on its own.
    virtual void scheduleNotification(const UserNotification& notification) = 0;
    virtual void removeDeliveredNotification(const UserNotification& notification) = 0;
};

// A keychain search over internet passwords. Attributes only: there is no way
// to ask for a password value.
struct KeychainQuery {
    std::string itemClass;                  // kSecClassInternetPassword
    std::optional<std::string> service;
    std::optional<std::string> account;
    bool returnAttributes = false;
    bool matchLimitAll = false;
};

// Attribute dictionary of one item, keyed by four-letter codes ("srvr", "atyp", ...).
using KeychainAttributes = std::map<std::string, std::string>;

struct KeychainSearchResult {
    std::int32_t status = 0;  // 0: success; otherwise a keychain-style status
    std::optional<std::vector<KeychainAttributes>> items;
};

inline constexpr const char* kSecClassInternetPassword = "inet";
inline constexpr std::int32_t kErrSecSuccess = 0;
inline constexpr std::int32_t kErrSecItemNotFound = -25300;
// No keyring can be asked: no session bus, no keyring service on it, or a
// service that did not answer the search in time.
inline constexpr std::int32_t kErrSecNotAvailable = -25291;
// The search found items of a locked keyring: they are there, but their
// attributes cannot be read without unlocking it, which is never asked for.
inline constexpr std::int32_t kErrSecInteractionNotAllowed = -25308;
// The search was answered but not the attributes of every item found; a
// partial answer is never given.
inline constexpr std::int32_t kErrSecDataNotAvailable = -25316;

// The keychain's four-letter attribute codes that a search answers.
inline constexpr const char* kSecAttrServer = "srvr";
inline constexpr const char* kSecAttrAuthenticationType = "atyp";
inline constexpr const char* kSecAttrProtocol = "ptcl";
inline constexpr const char* kSecAttrAccount = "acct";
inline constexpr const char* kSecAttrPort = "port";

// One cookie of the shared HTTP cookie storage.
struct HttpCookie {
    std::string name;
    std::string domain;
    std::string path;
    std::string value;
    std::uint32_t flags = 0;
    double expiresDate = 0;   // seconds since 2001-01-01 00:00:00 UTC
    double creationDate = 0;  // same epoch
    std::uint64_t storageKey = 0;  // identifies the cookie within its storage
    bool operator==(const HttpCookie&) const = default;
};

class HttpCookieStorage {
public:
    virtual ~HttpCookieStorage() = default;
    // A snapshot of every cookie, in storage order; empty when the store cannot be read.
    virtual std::vector<HttpCookie> cookies() = 0;
    // Deletes exactly the given cookie; unknown cookies are ignored. A store
    // kept in a file may hold the deletion until flush().
    virtual void deleteCookie(const HttpCookie& cookie) = 0;
    // Writes the deletions made so far to the store in one step; nothing
    // when there are none.
    virtual void flush() = 0;
};

// The one seam between the worker and the operating system. Everything the
// worker asks of the system beyond reading files and SQLite goes through here,
// and so does every removal and overwrite of a file: one place sees every
// destructive step. Passed by reference to whoever needs it; never global.
class Platform {
public:
    virtual ~Platform() = default;

    // --- Process ---------------------------------------------------------
    virtual std::vector<std::string> arguments() = 0;
    // Ends the process with status 0. Does not return.
    [[noreturn]] virtual void terminate() = 0;
    // The running CoreFoundation-style version number.
    virtual double coreFoundationVersionNumber() = 0;

    // --- User defaults ---------------------------------------------------
    virtual void addSuiteNamed(const std::string& suiteName) = 0;
    // YES only for a boolean true or the integer 1 in the first domain holding the key.
    virtual bool boolForKey(const std::string& key) = 0;

    // --- Localization ----------------------------------------------------
    // The main bundle's localized text; with no entry, value when it is not
    // empty, else the key itself.
    virtual std::string localizedString(const std::string& key, const std::string& value) = 0;

    // --- Services --------------------------------------------------------
    virtual UserNotificationCenter& defaultUserNotificationCenter() = 0;
    virtual KeychainSearchResult copyMatching(const KeychainQuery& query) = 0;
    virtual HttpCookieStorage& sharedHTTPCookieStorage() = 0;

    // --- Places ----------------------------------------------------------
    virtual std::string homeDirectory() = 0;
    // Maps an absolute macOS path ("/private/var/folders/") onto the root the
    // worker cleans (by default "/" itself).
    virtual std::string systemPath(const std::string& absolutePath) = 0;

    // --- Files (paths are used as given; relative paths against the working folder)
    virtual bool fileExists(const std::string& path) = 0;          // follows links
    virtual bool isDirectory(const std::string& path) = 0;         // follows links
    virtual FileType fileType(const std::string& path) = 0;        // does not follow a final link
    // Entry names one level deep, in listing order, without "." and "..";
    // empty for a missing or unreadable folder.
    virtual std::vector<std::string> contentsOfDirectory(const std::string& path) = 0;
    // Whole file as UTF-8 text; nothing when missing, unreadable or not valid
    // UTF-8. Only a regular file of a bounded size is read (a named pipe or a
    // device reads as unreadable) and the read never waits.
    virtual std::optional<std::string> readUtf8File(const std::string& path) = 0;
    // Removes a file, a link (never its target) or a folder with everything
    // in it. Errors are ignored; answers whether the item is gone.
    virtual bool removeItem(const std::string& path) = 0;

    // --- Overwriting (the system calls of secure deletion) ---------------
    // Opens an existing regular file read-write: no create, truncate, append or
    // sync flag, and never through a final symbolic link. -1 on failure and for
    // anything that is not a regular file.
    virtual int openForOverwrite(const std::string& path) = 0;
    // The size that fstat reports, or nothing when it fails.
    virtual std::optional<std::uint64_t> sizeOfOpenFile(int fd) = 0;
    // write(2): the number of bytes written, or -1.
    virtual long writeToFile(int fd, const unsigned char* bytes, std::size_t count) = 0;
    virtual bool closeFile(int fd) = 0;
};

}  // namespace tasselby
