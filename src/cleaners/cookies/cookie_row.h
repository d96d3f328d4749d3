#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// One row of a browser's cookie table chosen for removal, kept as no more
// than its deletion statement names: the host and the identifying value, as
// the text they were read as. The other columns are never needed again.
class CookieRow {
public:
    // key is nothing when the identifying value was not text (SQL NULL, say):
    // no statement can name such a row.
    CookieRow(std::string_view host, std::optional<std::string_view> key);

    std::string_view host() const { return std::string_view(values_).substr(0, hostSize_); }
    std::optional<std::string_view> key() const;

    // Frees the values once the statement is written.
    void release() { std::string().swap(values_); }

private:
    // The host, then, when there is a key, a zero byte and the key: one
    // allocation per row. Text read from a database holds no zero byte.
    std::string values_;
    std::uint32_t hostSize_;
};

}  // namespace tasselby
