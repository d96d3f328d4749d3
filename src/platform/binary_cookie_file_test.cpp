#include "platform/binary_cookie_file.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/cookie_stores.h"

namespace tasselby {
namespace {

using testing::BinaryCookie;
using testing::BinaryCookieFileBuilder;

std::vector<std::string> names(const std::vector<HttpCookie>& cookies) {
    std::vector<std::string> result;
    for (const HttpCookie& cookie : cookies) result.push_back(cookie.name);
    return result;
}

std::uint32_t be32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

std::size_t pageCount(const std::string& file) { return be32(file, 4); }

std::string page(const std::string& file, std::size_t index) {
    std::size_t start = 8 + 4 * pageCount(file);
    for (std::size_t i = 0; i < index; ++i) start += be32(file, 8 + 4 * i);
    return file.substr(start, be32(file, 8 + 4 * index));
}

// Three pages; the second holds a cookie with a port and unusual fields.
std::string threePages() {
    return BinaryCookieFileBuilder()
        .page({{".example.com", "sid", "/", "abc", 1}, {"www.example.com", "lang", "/docs", "en", 5}})
        .page({{".tracker.net", "__utma", "/", "x.y.z", 0, 8.0e8, 6.0e8, 8080},
               {".tracker.net", "__utmz", "/", "src=a"},
               {".news.example.co.uk", "edition", "/", "uk", 0x28}})
        .page({{".shop.example.info", "cart", "/", ""}})
        .bytes();
}

TEST(BinaryCookieFile, BuildsTheWorkedExampleByteForByte) {
    std::string bytes = BinaryCookieFileBuilder().page({{".example.com", "sid", "/", "abc", 1, 7.0e8, 6.9e8}}).bytes();
    const unsigned char expected[] = {
        0x63, 0x6f, 0x6f, 0x6b, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x5f, 0x00, 0x00, 0x01, 0x00,
        0x01, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x4f, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x38, 0x00, 0x00, 0x00,
        0x45, 0x00, 0x00, 0x00, 0x49, 0x00, 0x00, 0x00, 0x4b, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80, 0x93, 0xdc, 0xc4, 0x41, 0x00, 0x00, 0x00, 0x40,
        0x48, 0x90, 0xc4, 0x41, 0x2e, 0x65, 0x78, 0x61, 0x6d, 0x70, 0x6c, 0x65, 0x2e, 0x63, 0x6f, 0x6d,
        0x00, 0x73, 0x69, 0x64, 0x00, 0x2f, 0x00, 0x61, 0x62, 0x63, 0x00, 0x00, 0x00, 0x03, 0x78, 0x07,
        0x17, 0x20, 0x05, 0x00, 0x00, 0x00, 0x4b};
    ASSERT_EQ(bytes.size(), sizeof expected + 75);
    EXPECT_EQ(bytes.substr(0, sizeof expected), std::string(reinterpret_cast<const char*>(expected), sizeof expected));

    auto file = BinaryCookieFile::parse(bytes);
    ASSERT_TRUE(file);
    ASSERT_EQ(file->cookies().size(), 1u);
    HttpCookie cookie = file->cookies()[0];
    EXPECT_EQ(std::tie(cookie.domain, cookie.name, cookie.path, cookie.value, cookie.flags),
              std::make_tuple(".example.com", "sid", "/", "abc", 1u));
    EXPECT_EQ(cookie.expiresDate, 7.0e8);
    EXPECT_EQ(cookie.creationDate, 6.9e8);

    std::string empty = BinaryCookieFileBuilder().bytes();
    EXPECT_EQ(BinaryCookieFile::parse(empty)->serialize(), empty);
}

// The standard footer (magic, length, property list) and the older one that
// is the magic alone.
constexpr std::size_t kFooterSizes[] = {83, 4};

std::string withFooter(std::string bytes, std::size_t footerSize) {
    bytes.resize(bytes.size() - 83 + footerSize);
    return bytes;
}

TEST(BinaryCookieFile, RemovingOneCookieKeepsEveryOtherByte) {
    for (std::size_t footerSize : kFooterSizes) {
        SCOPED_TRACE(footerSize);
        std::string bytes = withFooter(threePages(), footerSize);
        auto file = BinaryCookieFile::parse(bytes);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->serialize(), bytes);
        std::vector<HttpCookie> before = file->cookies();
        EXPECT_EQ(names(before), (std::vector<std::string>{"sid", "lang", "__utma", "__utmz", "edition", "cart"}));
        EXPECT_EQ(before[2].domain, ".tracker.net");  // read past the port
        ASSERT_TRUE(file->remove(before[3]));  // __utmz, in the middle page

        std::string written = file->serialize();
        auto reread = BinaryCookieFile::parse(written);
        ASSERT_TRUE(reread) << "the written file must be valid, checksum included";
        std::vector<HttpCookie> after = reread->cookies();
        EXPECT_EQ(names(after), (std::vector<std::string>{"sid", "lang", "__utma", "edition", "cart"}));
        for (std::size_t i = 0; i < after.size(); ++i) {
            HttpCookie expected = before[i < 3 ? i : i + 1];
            expected.storageKey = after[i].storageKey;
            EXPECT_EQ(after[i], expected);
        }

        // The first and last pages and the footer are untouched; the middle
        // page is rebuilt without the removed record.
        ASSERT_EQ(pageCount(written), 3u);
        EXPECT_EQ(page(written, 0), page(bytes, 0));
        EXPECT_EQ(page(written, 2), page(bytes, 2));
        EXPECT_EQ(page(bytes, 1).size() - page(written, 1).size(),
                  4 + 56 + std::string_view(".tracker.net\0__utmz\0/\0src=a\0", 28).size());
        EXPECT_EQ(written.substr(written.size() - footerSize), bytes.substr(bytes.size() - footerSize));

        // A page that loses every cookie is dropped.
        ASSERT_TRUE(file->remove(before.back()));
        written = file->serialize();
        EXPECT_EQ(pageCount(written), 2u);
        ASSERT_TRUE(BinaryCookieFile::parse(written));
        EXPECT_EQ(BinaryCookieFile::parse(written)->cookies().size(), 4u);
    }
}

TEST(BinaryCookieFile, RemovesOnlyTheVeryCookieItListed) {
    auto file = BinaryCookieFile::parse(threePages());
    HttpCookie sid = file->cookies()[0];
    HttpCookie altered = sid;
    altered.value = "other";
    HttpCookie unknown = sid;
    unknown.storageKey = 99;
    EXPECT_FALSE(file->remove(altered));
    EXPECT_FALSE(file->remove(unknown));
    EXPECT_TRUE(file->remove(sid));
    EXPECT_FALSE(file->remove(sid)) << "already gone";
    EXPECT_EQ(file->cookies().size(), 5u);

    // Dates whose bytes spell NaN still name their own record.
    auto odd = BinaryCookieFile::parse(
        BinaryCookieFileBuilder().page({{".a.com", "x", "/", "1", 0, std::nan(""), std::nan("")}}).bytes());
    ASSERT_TRUE(odd);
    EXPECT_TRUE(odd->remove(odd->cookies().at(0)));
    EXPECT_TRUE(odd->cookies().empty());
}

std::string patched(std::string bytes, std::size_t at, std::string_view with) {
    bytes.replace(at, with.size(), with);
    return bytes;
}

TEST(BinaryCookieFile, RejectsFilesThatCannotBeReadWhole) {
    std::string good = BinaryCookieFileBuilder().page({{".example.com", "sid", "/", "abc", 1}}).bytes();
    const std::size_t page = 12, record = page + 16, checksum = page + 0x5f;
    struct Case {
        const char* what;
        std::string bytes;
    };
    const std::vector<Case> cases = {
        {"empty", ""},
        {"wrong file magic", patched(good, 0, "COOK")},
        {"page count past the end", patched(good, 4, std::string("\0\0\1\0", 4))},
        {"page size past the end", patched(good, 8, std::string("\0\0\1\0", 4))},
        {"wrong page magic", patched(good, page, std::string("\0\0\2\0", 4))},
        {"record count past the page", patched(good, page + 4, std::string("\x40\0\0\0", 4))},
        {"header terminator not zero", patched(good, page + 12, "\1")},
        {"record offset inside the header", patched(good, page + 8, std::string("\x08\0\0\0", 4))},
        {"record size past the page", patched(good, record, std::string("\x60\0\0\0", 4))},
        {"record size below its header", patched(good, record, std::string("\x10\0\0\0", 4))},
        {"string offset past the record", patched(good, record + 20, std::string("\x70\0\0\0", 4))},
        {"string offset in the header", patched(good, record + 20, std::string("\x04\0\0\0", 4))},
        {"unterminated value", patched(good, record + 0x4e, "x")},
        {"bad checksum", patched(good, checksum + 3, "\x79")},
        {"wrong footer magic", patched(good, checksum + 4, "\x08")},
        {"property list length wrong", patched(good, checksum + 11, "\x4a")},
        {"trailing byte", good + std::string(1, '\0')},
    };
    ASSERT_TRUE(BinaryCookieFile::parse(good));
    for (const Case& test : cases) {
        EXPECT_FALSE(BinaryCookieFile::parse(test.bytes)) << test.what;
    }
    // Cut anywhere but right after the footer's magic, which is the older
    // complete form.
    const std::size_t shortForm = checksum + 8;
    EXPECT_TRUE(BinaryCookieFile::parse(good.substr(0, shortForm)));
    for (std::size_t length = 0; length < good.size(); ++length) {
        if (length == shortForm) continue;
        EXPECT_FALSE(BinaryCookieFile::parse(good.substr(0, length))) << "truncated to " << length;
    }
}

TEST(BinaryCookieFile, RejectsOverlappingRecords) {
    // Two offset-table entries pointing at the same record.
    // The file header (magic, page count, one page size) is 12 bytes; the
    // checksum and the footer follow the page. Only the overlap is wrong in
    // the forged file: the same bytes with distinct offsets still parse.
    std::string bytes = BinaryCookieFileBuilder().page({{".a.com", "x"}, {".b.com", "y"}}).bytes();
    std::string page = bytes.substr(12, bytes.size() - 12 - 4 - 83);
    auto withPage = [&](const std::string& replaced) {
        std::uint32_t sum = BinaryCookieFile::pageChecksum(replaced);
        std::string checksum{static_cast<char>(sum >> 24), static_cast<char>(sum >> 16),
                             static_cast<char>(sum >> 8), static_cast<char>(sum)};
        return bytes.substr(0, 12) + replaced + checksum + bytes.substr(bytes.size() - 83);
    };
    ASSERT_EQ(withPage(page), bytes);
    EXPECT_FALSE(BinaryCookieFile::parse(withPage(patched(page, 12, page.substr(8, 4)))));
}

}  // namespace
}  // namespace tasselby
