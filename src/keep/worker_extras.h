#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/names.h"
#include "platform/platform.h"

namespace tasselby {

// A failed keychain search: the worker's own domain and the keychain's status as code.
struct KeychainError {
    std::string domain;
    std::int64_t code = 0;
    bool operator==(const KeychainError&) const = default;
};

// Errors carry the main application's identifier as their domain.
inline constexpr const char* kKeychainErrorDomain = kSuiteName;

// Class operations shared by the cleaners: host names reduced to site names,
// and read-only look-ups of saved internet passwords' attributes.
class WorkerExtras {
public:
    WorkerExtras() = delete;

    // The site of a host name (lower case, no leading "." or "www.", cut to its
    // last two or three labels); nothing for input that names no site.
    static std::optional<std::string> siteWithDomainName(const std::string& host);

    // --- Saved internet passwords (attributes only, never a password) ------
    // Every internet-password item's attributes; nothing when the search
    // fails, no matching item included.
    static std::optional<std::vector<KeychainAttributes>> allAccounts(Platform& platform);
    static std::optional<std::vector<KeychainAttributes>> allAccounts(Platform& platform,
                                                                      std::optional<KeychainError>* error);
    // The same for the items of one service (all items without one). A failed
    // search stores its error in *error when an error place is given.
    static std::optional<std::vector<KeychainAttributes>> accountsForService(Platform& platform,
                                                                             const std::optional<std::string>& service,
                                                                             std::optional<KeychainError>* error = nullptr);
    // The search for internet passwords, narrowed to the service and account given.
    static KeychainQuery _queryForService(const std::optional<std::string>& service,
                                          const std::optional<std::string>& account);
};

}  // namespace tasselby
