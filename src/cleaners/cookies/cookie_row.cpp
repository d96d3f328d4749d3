#include "cleaners/cookies/cookie_row.h"

#include <algorithm>

namespace tasselby {

CookieRow::CookieRow(std::string_view host, std::optional<std::string_view> key)
    : values_(new char[host.size() + (key ? key->size() : 0)]),
      hostSize_(static_cast<std::uint32_t>(host.size())),
      keySize_(key ? static_cast<std::uint32_t>(key->size()) : kNoKey) {
    char* end = std::copy(host.begin(), host.end(), values_.get());
    if (key) std::copy(key->begin(), key->end(), end);
}

std::optional<std::string_view> CookieRow::key() const {
    if (keySize_ == kNoKey) return std::nullopt;
    return std::string_view(values_.get() + hostSize_, keySize_);
}

}  // namespace tasselby
