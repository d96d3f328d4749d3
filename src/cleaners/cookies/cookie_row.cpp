#include "cleaners/cookies/cookie_row.h"

namespace tasselby {

CookieRow::CookieRow(std::string_view host, std::optional<std::string_view> key)
    : hostSize_(static_cast<std::uint32_t>(host.size())) {
    values_.reserve(host.size() + (key ? key->size() + 1 : 0));
    values_.append(host);
    if (key) {
        values_.push_back('\0');
        values_.append(*key);
    }
}

std::optional<std::string_view> CookieRow::key() const {
    if (values_.size() == hostSize_) return std::nullopt;
    return std::string_view(values_).substr(hostSize_ + 1);
}

}  // namespace tasselby
