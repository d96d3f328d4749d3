#include <gtest/gtest.h>

#include "support/delegate_fixture.h"

namespace tasselby {
namespace {

enum class Decision { Kept, Chosen, PassedOver };
constexpr Decision K = Decision::Kept;
constexpr Decision C = Decision::Chosen;
constexpr Decision P = Decision::PassedOver;

class OriginNameParsersTest : public testing::DelegateTest {
protected:
    const KeepList keep{"example.com", "example.co.uk"};

    // What a parser answers for a single name: the name when chosen, else nothing.
    static std::vector<std::string> expected(const std::string& name, Decision decision) {
        return decision == C ? std::vector<std::string>{name} : std::vector<std::string>{};
    }
};

TEST_F(OriginNameParsersTest, DatabaseOriginsAreReducedWhole) {
    const std::vector<std::pair<std::string, Decision>> table = {
        {"http_www.example.com_0", C},
        {"https_example.com_0", C},
        {"https_mail.example.co.uk_443", C},
        {"file__0", C},
        {"chrome-extension_abcdefghijklmnop_0", K},
        {"safari-extension_com.example.ext-0123456789_0", K},
        {"example.com", K},
        {"HTTP_example.com", C},        // not a web origin: reduced whole, lower-cased
        {"www.EXAMPLE.com", K},         // a name that is itself a kept site
        {"https", C},                   // "http" prefix without "_": reduced whole
    };
    for (const auto& [origin, decision] : table) {
        EXPECT_EQ(delegate.databaseArray({origin}, keep), expected(origin, decision)) << origin;
    }
}

// "Chrome", a name no run passes, is the only one besides Chromium whose
// extension storage is spared.
TEST_F(OriginNameParsersTest, LocalStorageNamesByBrowser) {
    struct Row {
        std::string name;
        Decision safari, chrome, chromium, opera, chromeName;
    };
    const std::vector<Row> table = {
        {"http_www.example.com_0.localstorage", K, K, K, K, K},
        {"https_mail.example.com_0.localstorage", K, K, K, K, K},
        {"https_mail.example.co.uk_0.localstorage", K, K, K, K, K},
        {"http_example.org_80.localstorage", C, C, C, C, C},
        {"http_192.168.0.10_8080.localstorage", C, C, C, C, C},
        {"file__0.localstorage", C, C, C, C, C},
        {"http_example.com.localstorage", C, C, C, C, C},
        {"chrome-extension_abcdefghijklmnop_0.localstorage", C, C, K, C, K},
        {"safari-extension_com.example.ext-0123456789_0.localstorage", K, C, C, C, C},
        {"http_www.example.com_0.localstorage-journal", P, P, P, P, P},
        {"StorageTracker.db", P, P, P, P, P},
        // Capitals: not a web origin, so the whole name is reduced and chosen.
        {"HTTP_www.example.com_0.localstorage", C, C, C, C, C},
        {"http_www.example.com_0.LOCALSTORAGE", P, P, P, P, P},
        // A name that is a kept site once its ending is gone.
        {"example.com.localstorage", K, K, K, K, K},
    };
    const std::vector<std::string> browsers = {"Safari", "Google Chrome", "Chromium", "Opera", "Chrome"};
    for (const Row& row : table) {
        const Decision decisions[] = {row.safari, row.chrome, row.chromium, row.opera, row.chromeName};
        for (std::size_t b = 0; b < browsers.size(); ++b) {
            EXPECT_EQ(delegate.localStorageArray({row.name}, browsers[b], keep), expected(row.name, decisions[b]))
                << row.name << " / " << browsers[b];
        }
    }
}

TEST_F(OriginNameParsersTest, MozillaScopes) {
    const std::vector<std::pair<std::string, Decision>> table = {
        {"moc.elpmaxe.www.:http:80", K},
        {"moc.elpmaxe.:https:443", K},
        {"ku.oc.elpmaxe.liam.:https:443", K},
        {"gro.elpmaxe.:http:80", C},
        {"1.0.0.721.:http:8080", C},
        {"moc.elpmaxe.www", K},
        {".:http:80", C},
        {"p/moc.elpmaxe.www//x.:http:80", K},
        {"p/moc.elpmaxe//x.:http:80", C},
        {"moc.elpm14%xe.www//x.:http:80", K},
        {"moc.b+a.www//x.:http:80", C},
        // Cut at the first ".:" only.
        {"moc.elpmaxe.:http:80.:x", K},
        // An escape that is not UTF-8, or not an escape at all, leaves the
        // whole text as the name, and that is no kept site.
        {"FF%/moc.elpmaxe.www//x.:http:80", C},
        {"z%/moc.elpmaxe.www//x.:http:80", C},
        {"F2%/moc.elpmaxe.www//x.:http:80", K},
    };
    for (const auto& [scope, decision] : table) {
        EXPECT_EQ(delegate.mozillaLocalStorage({scope}, keep), expected(scope, decision)) << scope;
    }
}

}  // namespace
}  // namespace tasselby
