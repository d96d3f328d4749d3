#include "linux/chromium_storage_keys.h"

#include <gtest/gtest.h>

#include "support/chromium_stores.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using namespace std::string_literals;

TEST(ChromiumStorageKeys, LocalStorageKeysNameTheirStorageKey) {
    struct Case {
        std::string key;
        std::optional<std::string> storageKey;
    };
    const Case cases[] = {
        {"META:http://a.localhost:1", "http://a.localhost:1"},
        {"METAACCESS:http://a.localhost:1", "http://a.localhost:1"},
        {"_http://a.localhost:1\0\x01key"s, "http://a.localhost:1"},
        {"_https://b.example^0https://c.example\0\x01k"s, "https://b.example^0https://c.example"},
        {"_no-terminator", std::nullopt},
        {"VERSION", std::nullopt},
        {"METADATA", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& each : cases) {
        std::optional<std::string_view> key = ChromiumStorageKeys::localStorageKey(each.key);
        EXPECT_EQ(key ? std::optional<std::string>(*key) : std::nullopt, each.storageKey) << each.key;
    }
}

TEST(ChromiumStorageKeys, RegistrationKeysAndRecords) {
    const std::string key = "REG:http://a.localhost:1/\0""12"s;
    std::optional<ChromiumStorageKeys::Registration> registration = ChromiumStorageKeys::registrationKey(key);
    ASSERT_TRUE(registration);
    EXPECT_EQ(registration->origin, "http://a.localhost:1/");
    EXPECT_EQ(registration->id, "12");
    for (std::string bad : {"REG:http://a/"s, "REG:\0""1"s, "REG:http://a/\0"s, "REG:http://a/\0x1"s, "REGID_TO_ORIGIN:1"s}) {
        EXPECT_FALSE(ChromiumStorageKeys::registrationKey(bad)) << bad;
    }
    // Fields 1 (id), 2 (scope), 4 (version 300, two varint bytes).
    EXPECT_EQ(ChromiumStorageKeys::registrationVersion("\x08\x07\x12\x01/\x20\xAC\x02"s), 300u);
    EXPECT_FALSE(ChromiumStorageKeys::registrationVersion("\x12\x7F/"s));  // a length past the end
    EXPECT_FALSE(ChromiumStorageKeys::registrationVersion("\x20\xFF"s));   // a varint cut short
    // A damaged store files two origins' registrations under one id and version:
    // the keys they share stay with the kept one, and no key is taken twice.
    const ChromiumStorageKeys::Entries shared = {
        {"REG:http://gone.localhost/\0""5"s, "\x20\x09"s}, {"REG:http://kept.localhost/\0""5"s, "\x20\x09"s},
        {"REG:http://lost.localhost/\0""5"s, "\x20\x09"s}, {"REGID_TO_ORIGIN:5", "http://kept.localhost/"},
        {"RES:9\0""1"s, "sw.js"}};
    ChromiumStorageKeys::ServiceWorkerDeletion deletion = ChromiumStorageKeys::serviceWorkerDeletion(
        shared, [](const std::string& host) { return host == "kept.localhost"; });
    EXPECT_EQ(deletion.keys, (std::vector<std::string>{shared[0].first, shared[2].first}));
}

TEST(ChromiumStorageKeys, CacheStorageIndexNamesItsOrigin) {
    testing::TemporaryFolder folder;
    testing::writeCacheStorage(folder.path(), "http://a.localhost:18765/");
    EXPECT_EQ(ChromiumStorageKeys::cacheStorageOrigin(testing::SampleHome(folder.path()).read("index.txt")),
              "http://a.localhost:18765/");
    EXPECT_EQ(ChromiumStorageKeys::cacheStorageOrigin("\x1A\x05http:"s), "http:");  // storage key only
    EXPECT_FALSE(ChromiumStorageKeys::cacheStorageOrigin("\x12\x50short"s));
    EXPECT_FALSE(ChromiumStorageKeys::cacheStorageOrigin(""));
    EXPECT_FALSE(ChromiumStorageKeys::cacheStorageOrigin("\x0F\x01"s));  // a wire type that does not exist
}

}  // namespace
}  // namespace tasselby
