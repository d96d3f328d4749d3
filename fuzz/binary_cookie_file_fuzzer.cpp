// The binary cookie file. A file that parses is written back byte for byte;
// with every other cookie removed it is written, parsed again and holds
// exactly the cookies that were left.
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_input.h"
#include "platform/binary_cookie_file.h"

namespace {

using tasselby::BinaryCookieFile;
using tasselby::HttpCookie;

// The same cookie, dates compared bit for bit (a NaN is a date like any
// other) and the storage key, which is a position in one reading, left out.
bool sameCookie(const HttpCookie& a, const HttpCookie& b) {
    return a.name == b.name && a.domain == b.domain && a.path == b.path && a.value == b.value &&
           a.flags == b.flags && std::memcmp(&a.expiresDate, &b.expiresDate, sizeof(double)) == 0 &&
           std::memcmp(&a.creationDate, &b.creationDate, sizeof(double)) == 0;
}

bool sameCookies(const std::vector<HttpCookie>& a, const std::vector<HttpCookie>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!sameCookie(a[i], b[i])) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes = tasselby::fuzz::text(data, size);
    std::optional<BinaryCookieFile> file = BinaryCookieFile::parse(bytes);
    if (!file) return 0;
    if (file->serialize() != bytes) std::abort();

    std::vector<HttpCookie> cookies = file->cookies();
    std::vector<HttpCookie> left;
    for (std::size_t i = 0; i < cookies.size(); ++i) {
        if (i % 2 == 0) {
            if (!file->remove(cookies[i])) std::abort();
        } else {
            left.push_back(cookies[i]);
        }
    }
    std::string written = file->serialize();
    std::optional<BinaryCookieFile> again = BinaryCookieFile::parse(written);
    if (!again || !sameCookies(again->cookies(), left)) std::abort();
    if (again->serialize() != written) std::abort();
    return 0;
}
