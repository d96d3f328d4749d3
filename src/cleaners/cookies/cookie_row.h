#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace tasselby {

// One row of a browser's cookie table chosen for removal, kept as no more
// than its deletion statement names: the host and the identifying value, as
// the text they were read as. The other columns are never needed again.
// Sixteen bytes and one allocation of exactly the text's size a row: a big
// profile's removal list is held whole until the last profile is done.
class CookieRow {
public:
    // key is nothing when the identifying value was not text (SQL NULL, say):
    // no statement can name such a row.
    CookieRow(std::string_view host, std::optional<std::string_view> key);

    std::string_view host() const { return {values_.get(), hostSize_}; }
    std::optional<std::string_view> key() const;

private:
    static constexpr std::uint32_t kNoKey = UINT32_MAX;

    std::unique_ptr<char[]> values_;  // the host, then the key
    std::uint32_t hostSize_;
    std::uint32_t keySize_;
};

}  // namespace tasselby
