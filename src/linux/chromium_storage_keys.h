#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tasselby {

// Readers of the keys and small records that Chromium's shared stores use
// to say which origin an entry belongs to. Each answers nothing for input
// that is not of its form; none of them trusts a length it reads.
class ChromiumStorageKeys {
public:
    ChromiumStorageKeys() = delete;

    // The storage key of a "Local Storage/leveldb" key: "META:<key>",
    // "METAACCESS:<key>" and "_<key>\0<script key>". Nothing for the
    // store's own keys ("VERSION") and anything else.
    static std::optional<std::string_view> localStorageKey(std::string_view key);

    // A service-worker registration key, "REG:<origin>/\0<registration id>".
    struct Registration {
        std::string_view origin;  // as stored, with its trailing "/"
        std::string_view id;      // decimal text
    };
    static std::optional<Registration> registrationKey(std::string_view key);
    // The version id (field 4) of a registration's record.
    static std::optional<std::uint64_t> registrationVersion(std::string_view record);

    // What a "Service Worker/Database" loses for the registrations whose
    // origin's host is not kept: each one's registration key, the keys filed
    // under its id (REGID_TO_ORIGIN, user data) and under its version (RES),
    // and the unique-origin keys of origins not kept.
    struct ServiceWorkerDeletion {
        std::vector<std::string> keys;
        std::vector<std::string> origins;  // each once
    };
    using Entries = std::vector<std::pair<std::string, std::string>>;
    static ServiceWorkerDeletion serviceWorkerDeletion(const Entries& entries,
                                                       const std::function<bool(const std::string& host)>& isKeptHost);

    // The origin that a Cache Storage "index.txt" names: its origin field
    // (2), else its storage key (3).
    static std::optional<std::string> cacheStorageOrigin(std::string_view index);
};

}  // namespace tasselby
