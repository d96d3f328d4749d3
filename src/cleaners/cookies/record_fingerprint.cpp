#include "cleaners/cookies/record_fingerprint.h"

#include <bit>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tasselby {

namespace {

// A record written out so that two records give the same bytes exactly when
// they are equal: every field with its kind and its length.
class RecordBytes {
public:
    void add(char kind, std::string_view bytes) {
        bytes_.push_back(kind);
        add(static_cast<std::uint64_t>(bytes.size()));
        bytes_.append(bytes);
    }
    void add(std::uint64_t number) { bytes_.append(reinterpret_cast<const char*>(&number), sizeof number); }
    void add(double number) { add(std::bit_cast<std::uint64_t>(number)); }

    RecordFingerprint fingerprint() const {
        // FNV-1a beside the library's string hash: two unrelated functions.
        std::uint64_t fnv = 14695981039346656037ull;
        for (unsigned char byte : bytes_) fnv = (fnv ^ byte) * 1099511628211ull;
        return {std::hash<std::string_view>()(bytes_), fnv};
    }

private:
    std::string bytes_;
};

}  // namespace

RecordFingerprint fingerprintOf(const SqlRow& row) {
    RecordBytes bytes;
    for (const auto& [column, value] : row) {
        bytes.add('c', column);
        std::visit(
            [&](const auto& field) {
                using Type = std::decay_t<decltype(field)>;
                if constexpr (std::is_same_v<Type, SqlNull>) {
                    bytes.add('n', {});
                } else if constexpr (std::is_same_v<Type, std::string>) {
                    bytes.add('t', field);
                } else if constexpr (std::is_same_v<Type, double>) {
                    bytes.add('d', {});
                    bytes.add(field);
                } else {
                    bytes.add('b', std::string_view(reinterpret_cast<const char*>(field.data()), field.size()));
                }
            },
            value);
    }
    return bytes.fingerprint();
}

RecordFingerprint fingerprintOf(const HttpCookie& cookie) {
    RecordBytes bytes;
    bytes.add(cookie.storageKey);
    bytes.add('n', cookie.name);
    bytes.add('d', cookie.domain);
    bytes.add('p', cookie.path);
    bytes.add('v', cookie.value);
    bytes.add(static_cast<std::uint64_t>(cookie.flags));
    bytes.add(cookie.expiresDate);
    bytes.add(cookie.creationDate);
    return bytes.fingerprint();
}

}  // namespace tasselby
