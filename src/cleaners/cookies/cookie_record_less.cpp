#include "cleaners/cookies/cookie_record_less.h"

#include <algorithm>
#include <compare>
#include <tuple>

namespace tasselby {

namespace {

// Doubles under the total order, so that every value, NaN included, has its place.
std::strong_ordering compare(double left, double right) { return std::strong_order(left, right); }

std::strong_ordering compare(const SqlValue& left, const SqlValue& right) {
    if (left.index() != right.index()) return left.index() <=> right.index();
    return std::visit(
        [&](const auto& value) -> std::strong_ordering {
            using Type = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Type, SqlNull>) {
                return std::strong_ordering::equal;
            } else if constexpr (std::is_same_v<Type, double>) {
                return compare(value, std::get<double>(right));
            } else {
                return value <=> std::get<Type>(right);
            }
        },
        left);
}

std::strong_ordering compare(const SqlRow& left, const SqlRow& right) {
    return std::lexicographical_compare_three_way(
        left.begin(), left.end(), right.begin(), right.end(), [](const auto& a, const auto& b) {
            if (auto byName = a.first <=> b.first; byName != 0) return byName;
            return compare(a.second, b.second);
        });
}

std::strong_ordering compare(const HttpCookie& left, const HttpCookie& right) {
    auto fields = [](const HttpCookie& cookie) {
        return std::tie(cookie.storageKey, cookie.name, cookie.domain, cookie.path, cookie.value, cookie.flags);
    };
    if (auto byFields = fields(left) <=> fields(right); byFields != 0) return byFields;
    if (auto byExpiry = compare(left.expiresDate, right.expiresDate); byExpiry != 0) return byExpiry;
    return compare(left.creationDate, right.creationDate);
}

}  // namespace

bool CookieRecordLess::operator()(const CookieRecord& left, const CookieRecord& right) const {
    if (left.index() != right.index()) return left.index() < right.index();
    if (const auto* cookie = std::get_if<HttpCookie>(&left)) return compare(*cookie, std::get<HttpCookie>(right)) < 0;
    return compare(std::get<SqlRow>(left), std::get<SqlRow>(right)) < 0;
}

}  // namespace tasselby
