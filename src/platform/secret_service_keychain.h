#pragma once

#include <chrono>

#include "platform/platform.h"

namespace tasselby {

// The keychain search over the Secret Service (the desktop keyring), which
// keeps internet passwords as items of the network-password schema. One
// search over the service, then the attributes of every item found, many
// calls in flight at once on one private bus connection. Only attributes are
// ever asked for: no session for secrets is opened, no secret crosses the
// bus, nothing is unlocked. Attributes come back under the keychain's codes
// (server "srvr", authtype "atyp", protocol "ptcl", user "acct", port
// "port"); a query's service filters on the server and its account on the
// user. No items: kErrSecItemNotFound.
class SecretServiceKeychain {
public:
    static constexpr std::chrono::milliseconds kSearchLimit = std::chrono::seconds(2);
    static constexpr std::chrono::milliseconds kStallLimit = std::chrono::seconds(30);

    explicit SecretServiceKeychain(std::chrono::milliseconds searchLimit = kSearchLimit,
                                   std::chrono::milliseconds stallLimit = kStallLimit)
        : searchLimit_(searchLimit), stallLimit_(stallLimit) {}

    // Connecting and reaching the service never take much longer than the
    // search limit: no bus, no service, or a service that owns its name but
    // never answers is kErrSecNotAvailable. A service that answers gets the
    // stall limit for the search, and then reads the items' attributes to the
    // end however long that takes, as long as it keeps answering: when it
    // goes the stall limit without answering the search or any further item,
    // or answers the search or one item with an error, the answer is
    // kErrSecDataNotAvailable and no items. Items the search finds locked give kErrSecInteractionNotAllowed.
    KeychainSearchResult copyMatching(const KeychainQuery& query) const;

private:
    std::chrono::milliseconds searchLimit_;
    std::chrono::milliseconds stallLimit_;
};

}  // namespace tasselby
