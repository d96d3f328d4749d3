#pragma once

#include <chrono>
#include <cstdint>

#include "platform/platform.h"

namespace tasselby {

// Answered when no keyring can be asked: no session bus, no Secret Service
// on it, or a service that did not answer within the time limit.
inline constexpr std::int32_t kErrSecNotAvailable = -25291;

// The keychain search over the Secret Service (the desktop keyring), which
// keeps internet passwords as items of the network-password schema. Only the
// items' attributes are ever asked for: no session for secrets is opened and
// no secret crosses the bus. Attributes come back under the keychain's codes
// (server "srvr", authtype "atyp", protocol "ptcl", user "acct", port
// "port"); a query's service filters on the server and its account on the
// user. Items of a locked keyring show no readable attributes and are left
// out. No items: kErrSecItemNotFound.
class SecretServiceKeychain {
public:
    explicit SecretServiceKeychain(std::chrono::milliseconds timeLimit = std::chrono::seconds(2))
        : timeLimit_(timeLimit) {}

    // Never takes much longer than the time limit: a service that owns its
    // name but never answers is abandoned with kErrSecNotAvailable.
    KeychainSearchResult copyMatching(const KeychainQuery& query) const;

private:
    std::chrono::milliseconds timeLimit_;
};

}  // namespace tasselby
