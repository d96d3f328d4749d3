#include "keep/worker_extras.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>

#include "platform/fake_platform.h"

namespace tasselby {
namespace {

struct SiteCase {
    std::string host;
    std::optional<std::string> site;
};

TEST(SiteWithDomainNameTest, ReducesHostsToTheirSite) {
    const SiteCase cases[] = {
        {"www.Example.COM", "example.com"}, {"WWW.EXAMPLE.COM", "example.com"}, {".example.com", "example.com"},
        {"mail.example.com", "example.com"}, {"a.b.c.example.org", "example.org"},
        {"news.example.co.uk", "example.co.uk"}, {"www.example.co.uk", "example.co.uk"},
        {"example.de", "example.de"}, {"a.b.example.de", "b.example.de"}, {"www.example.info", "example.info"},
        {"shop.example.info", "shop.example.info"}, {"x.shop.example.info", "shop.example.info"},
        {"192.168.1.10", "192.168.1.10"}, {"localhost", "localhost"}, {"example.com.", "example.com."},
        {"..example.com", "example.com"}, {".www.example.com", "example.com"},
        {"www.example.com:8080", "example.com:8080"}, {"file:///Users/a/page.html", std::nullopt},
        {"see FILE:///Users/a/page.html", std::nullopt}, {"^abc", std::nullopt}, {"^", "^"}, {"", ""},
        // One leading dot and one "www." only, in that order.
        {"www.www.example.com", "example.com"}, {"www.www.de", "www.de"}, {"www..example.com", "example.com"},
        {"..www.example.com", "example.com"}, {"..www.example.de", "www.example.de"},
        {"www2.example.com", "example.com"},
        // Letters and digits mixed are not numeric; digits only are.
        {"x.y.a1", "x.y.a1"}, {"host.123", "host.123"}, {"a.b.c.123", "a.b.c.123"}, {"x.y.1a1", "y.1a1"},
        // The last label is measured with its digits.
        {"https_mail.example.co.uk_443", "example.co.uk_443"}, {"a.b.c.d", "b.c.d"}, {"b.c", "b.c"},
        {"scheme://example.com", "scheme://example.com"}, {"scheme://www.example.com", "example.com"},
        // Characters, not bytes, are counted.
        {"shop.example.\xC3\xA9t\xC3\xA9", "example.\xC3\xA9t\xC3\xA9"},
        // Every letter is lowered, not only ASCII: a password saved for
        // "WWW.ÉCOLE.FR" keeps these three and not ".ecole.fr".
        {"WWW.ÉCOLE.FR", "école.fr"}, {".ÉCOLE.FR", "école.fr"}, {"www.École.Fr", "école.fr"},
        {".école.fr", "école.fr"}, {".ecole.fr", "ecole.fr"}, {"ΑΘΗΝΑ.GR", "αθηνα.gr"}, {"İZMIR.TR", "i̇zmir.tr"},
        // Bytes that are not UTF-8 stay as they are; only ASCII letters are lowered.
        {"\xC9""COLE.FR", "\xC9""cole.fr"},
    };
    for (const SiteCase& c : cases) {
        EXPECT_EQ(WorkerExtras::siteWithDomainName(c.host), c.site) << "host: " << c.host;
    }
}

TEST(SiteWithDomainNameTest, RandomHostsGiveALowerCaseTailAndAreStable) {
    constexpr std::string_view kPieces[] = {".", ".", "www.", "WWW", "w", "a", "B", "1", "42", "com", "co",
                                            "uk", "^", "file:///", ":", "/", "\xC3\xA9", "\xD9\xA3", "-", ""};
    std::mt19937 random(20240601);
    std::uniform_int_distribution<std::size_t> piece(0, std::size(kPieces) - 1);
    std::uniform_int_distribution<int> length(0, 12);
    for (int round = 0; round < 20000; ++round) {
        std::string host;
        for (int i = length(random); i > 0; --i) host += kPieces[piece(random)];
        std::optional<std::string> site = WorkerExtras::siteWithDomainName(host);
        std::string lower = host;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        auto rejected = [](const std::string& text) {
            return text.find("file:///") != std::string::npos || (text.size() >= 2 && text[0] == '^');
        };
        EXPECT_EQ(!site, rejected(lower)) << "host: " << host;
        if (!site) continue;
        EXPECT_TRUE(lower.ends_with(*site)) << "host: " << host;
        // A second pass changes nothing, unless the result still begins with
        // what the first pass strips or rejects.
        if (!site->starts_with('.') && !site->starts_with("www.") && !rejected(*site)) {
            EXPECT_EQ(WorkerExtras::siteWithDomainName(*site), site) << "host: " << host;
        }
    }
}

TEST(KeychainLookupTest, SearchAsksForEveryInternetPasswordsAttributes) {
    KeychainQuery narrow = WorkerExtras::_queryForService("mail.example.com", "alice");
    EXPECT_EQ(narrow.itemClass, kSecClassInternetPassword);
    EXPECT_EQ(narrow.account, "alice");
    EXPECT_FALSE(narrow.returnAttributes);

    FakePlatform platform("/nonexistent");
    platform.keychainItems = {{{"srvr", "a.example.com"}, {"atyp", "form"}}, {{"srvr", "b.example.org"}}};
    std::optional<KeychainError> error;
    EXPECT_EQ(WorkerExtras::allAccounts(platform, &error), platform.keychainItems);
    EXPECT_FALSE(error);
    const KeychainQuery& query = platform.keychainQueries.back();
    EXPECT_FALSE(query.service);
    EXPECT_FALSE(query.account);
    EXPECT_TRUE(query.returnAttributes);
    EXPECT_TRUE(query.matchLimitAll);
}

TEST(KeychainLookupTest, FailedSearchFillsTheErrorPlaceOnlyWhenGiven) {
    FakePlatform platform("/nonexistent");
    std::optional<KeychainError> error;
    EXPECT_FALSE(WorkerExtras::accountsForService(platform, "example.com", &error));
    EXPECT_EQ(error, (KeychainError{"com.marrowgatestudios.Tasselby", kErrSecItemNotFound}));
    EXPECT_EQ(platform.keychainQueries.back().service, "example.com");

    platform.keychainStatus = -25291;
    EXPECT_FALSE(WorkerExtras::allAccounts(platform));
    EXPECT_FALSE(WorkerExtras::allAccounts(platform, &error));
    EXPECT_EQ(error->code, -25291);
}

}  // namespace
}  // namespace tasselby
