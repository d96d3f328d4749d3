// The protocol-buffer records of Chromium's shared stores: any bytes as a
// Cache Storage "index.txt" and as a service-worker registration record.
// An origin read is bytes of the index itself; a leading origin field (2)
// is always the answer; a leading storage-key field (3) is the answer only
// when the rest names none; a leading version field (4) is always the
// version. None of these reads past the bytes (the sanitizer would say).
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_input.h"
#include "linux/chromium_storage_keys.h"

namespace {

using tasselby::ChromiumStorageKeys;

std::string varint(std::uint64_t value) {
    std::string bytes;
    for (; value >= 0x80; value >>= 7) bytes += static_cast<char>((value & 0x7F) | 0x80);
    bytes += static_cast<char>(value);
    return bytes;
}

std::string textField(int number, std::string_view text) {
    return varint(static_cast<std::uint64_t>(number) << 3 | 2) + varint(text.size()) + std::string(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(tasselby::fuzz::text(data, size));
    std::optional<std::string> origin = ChromiumStorageKeys::cacheStorageOrigin(bytes);
    if (origin && (origin->empty() || bytes.find(*origin) == std::string::npos)) std::abort();
    ChromiumStorageKeys::registrationVersion(bytes);

    const std::string named = bytes.empty() ? std::string("http://a.localhost/") : bytes.substr(0, 64);
    if (ChromiumStorageKeys::cacheStorageOrigin(textField(2, named) + bytes) != named) std::abort();
    if (ChromiumStorageKeys::cacheStorageOrigin(textField(3, named) + bytes) != origin.value_or(named)) std::abort();
    std::uint64_t version = 0;
    std::memcpy(&version, bytes.data(), std::min(sizeof version, bytes.size()));
    if (ChromiumStorageKeys::registrationVersion(varint(4 << 3) + varint(version) + bytes) != version) std::abort();
    return 0;
}
