#include "platform/binary_cookie_file.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace tasselby {

namespace {

constexpr std::string_view kFileMagic{"cook", 4};
constexpr std::string_view kPageMagic{"\x00\x00\x01\x00", 4};
constexpr std::string_view kFooterMagic{"\x07\x17\x20\x05", 4};
constexpr std::size_t kRecordHeaderSize = 56;

// Record fields, by offset from the record's start.
constexpr std::size_t kFlagsOffset = 8;
constexpr std::size_t kDomainOffset = 16;
constexpr std::size_t kNameOffset = 20;
constexpr std::size_t kPathOffset = 24;
constexpr std::size_t kValueOffset = 28;
constexpr std::size_t kExpiryOffset = 40;
constexpr std::size_t kCreationOffset = 48;

std::uint32_t byteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

std::uint32_t readBe32(std::string_view bytes, std::size_t at) {
    return byteAt(bytes, at) << 24 | byteAt(bytes, at + 1) << 16 | byteAt(bytes, at + 2) << 8 | byteAt(bytes, at + 3);
}

std::uint32_t readLe32(std::string_view bytes, std::size_t at) {
    return byteAt(bytes, at) | byteAt(bytes, at + 1) << 8 | byteAt(bytes, at + 2) << 16 | byteAt(bytes, at + 3) << 24;
}

double readLeDouble(std::string_view bytes, std::size_t at) {
    std::uint64_t word = std::uint64_t{readLe32(bytes, at + 4)} << 32 | readLe32(bytes, at);
    return std::bit_cast<double>(word);
}

void appendBe32(std::string& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(value >> shift & 0xff));
}

void appendLe32(std::string& out, std::uint32_t value) {
    for (int shift = 0; shift <= 24; shift += 8) out.push_back(static_cast<char>(value >> shift & 0xff));
}

// The zero-terminated string at the offset stored in the record's field;
// nothing when the offset points outside the strings or the string runs off
// the end of the record.
std::optional<std::string> recordString(std::string_view record, std::size_t field) {
    std::size_t start = readLe32(record, field);
    if (start < kRecordHeaderSize || start >= record.size()) return std::nullopt;
    std::size_t end = record.find('\0', start);
    if (end == std::string_view::npos) return std::nullopt;
    return std::string(record.substr(start, end - start));
}

std::optional<HttpCookie> parseRecord(std::string_view record) {
    auto domain = recordString(record, kDomainOffset);
    auto name = recordString(record, kNameOffset);
    auto path = recordString(record, kPathOffset);
    auto value = recordString(record, kValueOffset);
    if (!domain || !name || !path || !value) return std::nullopt;
    HttpCookie cookie;
    cookie.name = std::move(*name);
    cookie.domain = std::move(*domain);
    cookie.path = std::move(*path);
    cookie.value = std::move(*value);
    cookie.flags = readLe32(record, kFlagsOffset);
    cookie.expiresDate = readLeDouble(record, kExpiryOffset);
    cookie.creationDate = readLeDouble(record, kCreationOffset);
    return cookie;
}

// The same cookie, dates compared bit for bit: a record whose date bytes
// spell NaN is still the cookie it was listed as, and can be deleted.
bool sameCookie(const HttpCookie& left, const HttpCookie& right) {
    auto bits = [](double date) { return std::bit_cast<std::uint64_t>(date); };
    return std::tie(left.name, left.domain, left.path, left.value, left.flags, left.storageKey) ==
               std::tie(right.name, right.domain, right.path, right.value, right.flags, right.storageKey) &&
           bits(left.expiresDate) == bits(right.expiresDate) && bits(left.creationDate) == bits(right.creationDate);
}

}  // namespace

std::uint32_t BinaryCookieFile::pageChecksum(std::string_view page) {
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at < page.size(); at += 4) sum += byteAt(page, at);
    return sum;
}

bool BinaryCookieFile::parsePage(std::string_view page, BinaryCookieFile& file) {
    if (page.size() < 12 || page.substr(0, 4) != kPageMagic) return false;
    std::uint64_t count = readLe32(page, 4);
    std::uint64_t headerEnd = 8 + 4 * count + 4;
    if (headerEnd > page.size() || readLe32(page, headerEnd - 4) != 0) return false;

    struct Span {
        std::size_t offset, size;
    };
    std::vector<Span> spans;
    Page parsed{std::string(page), {}};
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t offset = readLe32(page, 8 + 4 * i);
        if (offset < headerEnd || offset > page.size() || page.size() - offset < kRecordHeaderSize) return false;
        std::size_t size = readLe32(page, offset);
        if (size < kRecordHeaderSize || size > page.size() - offset) return false;
        std::string_view bytes = page.substr(offset, size);
        std::optional<HttpCookie> cookie = parseRecord(bytes);
        if (!cookie) return false;
        cookie->storageKey = file.records_.size();
        parsed.records.push_back(file.records_.size());
        spans.push_back({offset, size});
        file.records_.push_back({std::string(bytes), std::move(*cookie), false});
    }
    // Two records sharing bytes would be written back twice after a rebuild.
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.offset < b.offset; });
    for (std::size_t i = 1; i < spans.size(); ++i) {
        if (spans[i].offset < spans[i - 1].offset + spans[i - 1].size) return false;
    }
    file.pages_.push_back(std::move(parsed));
    return true;
}

std::optional<BinaryCookieFile> BinaryCookieFile::parse(std::string_view bytes) {
    if (bytes.size() < 8 || bytes.substr(0, 4) != kFileMagic) return std::nullopt;
    std::uint64_t pageCount = readBe32(bytes, 4);
    std::uint64_t position = 8 + 4 * pageCount;
    if (position > bytes.size()) return std::nullopt;

    BinaryCookieFile file;
    std::uint32_t checksum = 0;
    for (std::size_t i = 0; i < pageCount; ++i) {
        std::uint64_t size = readBe32(bytes, 8 + 4 * i);
        if (size > bytes.size() - position) return std::nullopt;
        std::string_view page = bytes.substr(position, size);
        if (!parsePage(page, file)) return std::nullopt;
        checksum += pageChecksum(page);
        position += size;
    }

    // Checksum, then the footer: its magic alone (as older files end), or
    // the magic, a property-list length and exactly that many bytes.
    if (bytes.size() - position < 8) return std::nullopt;
    if (readBe32(bytes, position) != checksum) return std::nullopt;
    std::string_view footer = bytes.substr(position + 4);
    if (!footer.starts_with(kFooterMagic)) return std::nullopt;
    if (footer.size() != kFooterMagic.size() &&
        (footer.size() < 8 || readBe32(footer, 4) != footer.size() - 8)) {
        return std::nullopt;
    }
    file.footer_ = std::string(footer);
    return file;
}

std::vector<HttpCookie> BinaryCookieFile::cookies() const {
    std::vector<HttpCookie> all;
    for (const Page& page : pages_) {
        for (std::size_t index : page.records) {
            if (!records_[index].removed) all.push_back(records_[index].cookie);
        }
    }
    return all;
}

bool BinaryCookieFile::remove(const HttpCookie& cookie) {
    if (cookie.storageKey >= records_.size()) return false;
    Record& record = records_[cookie.storageKey];
    if (record.removed || !sameCookie(record.cookie, cookie)) return false;
    record.removed = true;
    return true;
}

std::optional<std::string> BinaryCookieFile::pageBytes(const Page& page) const {
    std::vector<const Record*> kept;
    for (std::size_t index : page.records) {
        if (!records_[index].removed) kept.push_back(&records_[index]);
    }
    if (kept.size() == page.records.size()) return page.bytes;
    if (kept.empty()) return std::nullopt;

    std::string rebuilt(kPageMagic);
    appendLe32(rebuilt, static_cast<std::uint32_t>(kept.size()));
    std::size_t offset = 8 + 4 * kept.size() + 4;
    for (const Record* record : kept) {
        appendLe32(rebuilt, static_cast<std::uint32_t>(offset));
        offset += record->bytes.size();
    }
    appendLe32(rebuilt, 0);
    for (const Record* record : kept) rebuilt += record->bytes;
    return rebuilt;
}

std::string BinaryCookieFile::serialize() const {
    std::vector<std::string> pages;
    for (const Page& page : pages_) {
        if (std::optional<std::string> bytes = pageBytes(page)) pages.push_back(std::move(*bytes));
    }
    std::string out(kFileMagic);
    appendBe32(out, static_cast<std::uint32_t>(pages.size()));
    std::uint32_t checksum = 0;
    for (const std::string& page : pages) {
        appendBe32(out, static_cast<std::uint32_t>(page.size()));
        checksum += pageChecksum(page);
    }
    for (const std::string& page : pages) out += page;
    appendBe32(out, checksum);
    out += footer_;
    return out;
}

}  // namespace tasselby
