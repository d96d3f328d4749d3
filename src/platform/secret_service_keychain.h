#pragma once

#include <chrono>

#include "platform/platform.h"

namespace tasselby {

// The keychain search over the Secret Service (the desktop keyring), which
// keeps internet passwords as items of the network-password schema. One
// search over the service, then the attributes of every item found, asked
// for all at once on one private bus connection. Only attributes are ever
// asked for: no session for secrets is opened, no secret crosses the bus,
// nothing is unlocked. Attributes come back under the keychain's codes
// (server "srvr", authtype "atyp", protocol "ptcl", user "acct", port
// "port"); a query's service filters on the server and its account on the
// user. No items: kErrSecItemNotFound.
class SecretServiceKeychain {
public:
    explicit SecretServiceKeychain(std::chrono::milliseconds searchLimit = std::chrono::seconds(2),
                                   std::chrono::milliseconds attributesLimit = std::chrono::seconds(30))
        : searchLimit_(searchLimit), attributesLimit_(attributesLimit) {}

    // Connecting and searching never take much longer than the search limit:
    // a service that owns its name but never answers is abandoned with
    // kErrSecNotAvailable. Once the search is answered, the items'
    // attributes get the attributes limit, past which the answer is
    // kErrSecDataNotAvailable.
    KeychainSearchResult copyMatching(const KeychainQuery& query) const;

private:
    std::chrono::milliseconds searchLimit_;
    std::chrono::milliseconds attributesLimit_;
};

}  // namespace tasselby
