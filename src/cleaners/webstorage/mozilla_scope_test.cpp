#include "cleaners/webstorage/mozilla_scope.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

TEST(MozillaScopeTest, ReversalMovesWholeCharacters) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"moc.elpmaxe.www", "www.example.com"},
        {"", ""},
        {"\xc3\xa9t\xc3\xa9.fr", "rf.\xc3\xa9t\xc3\xa9"},           // two-byte characters stay whole
        {"a\xe2\x82\xac\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80\xe2\x82\xac" "a"},  // three and four bytes
        {"a\xff\xc3", "\xc3\xff" "a"},                               // stray bytes move alone
    };
    for (const auto& [text, expected] : table) EXPECT_EQ(MozillaScope::reversed(text), expected) << text;
}

TEST(MozillaScopeTest, FormDecoding) {
    EXPECT_EQ(MozillaScope::decodedFormText("a+b%20c%2B"), "a b c+");
    EXPECT_EQ(MozillaScope::decodedFormText("%C3%A9%c3%a9"), "\xc3\xa9\xc3\xa9");
    EXPECT_EQ(MozillaScope::decodedFormText(""), "");
    EXPECT_FALSE(MozillaScope::decodedFormText("%FF"));   // not UTF-8
    EXPECT_FALSE(MozillaScope::decodedFormText("%C3"));   // cut sequence
    EXPECT_FALSE(MozillaScope::decodedFormText("%4"));    // short escape
    EXPECT_FALSE(MozillaScope::decodedFormText("%zz"));   // not hexadecimal
}

// Which names are kept is decided over the cleaner's table; here, the
// address form's "www." goes before the site rule sees the host.
TEST(MozillaScopeTest, WorkingNames) {
    EXPECT_EQ(MozillaScope::workingName("moc.elpmaxe.www//.:http:80"), "example.com");
    EXPECT_EQ(MozillaScope::workingName("p/moc.elpmaxe//x.:http:80"), "x//example.com/p");
    EXPECT_EQ(MozillaScope::workingName("moc.elpmaxe.www"), std::nullopt);
}

}  // namespace
}  // namespace tasselby
