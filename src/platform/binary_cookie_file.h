#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"

namespace tasselby {

// The binary cookie file of the shared cookie storage, held as the bytes it
// was read from. A file is "cook", the page count and page sizes (big-endian),
// the pages, a big-endian checksum and a footer: its magic, then a
// big-endian length and a property list (older files end after the magic). A page is its magic, a little-endian record
// count and record offsets, a zero word and the records; a record is
// little-endian: its size, version, flags, port flag, four string offsets,
// eight reserved bytes, expiry and creation (doubles, seconds since 2001),
// then its strings.
//
// Only what deletion needs is interpreted: every record keeps its own bytes,
// pages without a deleted record are written back as they were read, and the
// footer is kept byte for byte.
class BinaryCookieFile {
public:
    // The file, or nothing unless every byte of it is accounted for: magics,
    // sizes, offsets and strings in bounds, records not overlapping, no
    // trailing bytes and the stored checksum equal to the computed one.
    static std::optional<BinaryCookieFile> parse(std::string_view bytes);

    // Every cookie in file order; storageKey is the record's position in the
    // file as read, and stays the cookie's key after other cookies are removed.
    std::vector<HttpCookie> cookies() const;

    // Removes the record that the cookie came from, provided it is still there
    // and still holds exactly that cookie. Answers whether it was removed.
    bool remove(const HttpCookie& cookie);

    // The file with the removed records left out: untouched pages as read,
    // pages that lost records rebuilt from the remaining records' bytes, pages
    // that lost every record dropped, and a fresh checksum.
    std::string serialize() const;

    // The sum of the page's bytes at offsets that are multiples of four.
    static std::uint32_t pageChecksum(std::string_view page);

private:
    struct Record {
        std::string bytes;
        HttpCookie cookie;
        bool removed = false;
    };
    struct Page {
        std::string bytes;
        std::vector<std::size_t> records;  // indexes into records_, in offset-table order
    };

    static bool parsePage(std::string_view page, BinaryCookieFile& file);
    std::optional<std::string> pageBytes(const Page& page) const;

    std::vector<Record> records_;
    std::vector<Page> pages_;
    std::string footer_;  // the footer as read, from its magic to the end of the file
};

}  // namespace tasselby
