#include "keep/worker_extras.h"

#include <glib.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace tasselby {

namespace {

constexpr std::string_view kFileUrlMarker = "file:///";
constexpr std::string_view kWwwPrefix = "www.";

// Lower case with the full Unicode mapping, as "École" becomes "école".
// ASCII letters are lowered here, which is all most hosts need; GLib maps the
// rest. GLib consults the locale only for its Turkic and Lithuanian rules,
// and the worker never sets a locale, so every machine gives the same answer.
// Text that is not valid UTF-8 keeps its other bytes as they are rather than
// having them mangled.
std::string lowercased(std::string_view text) {
    std::string out(text);
    bool ascii = true;
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (static_cast<unsigned char>(c) >= 0x80) ascii = false;
    }
    if (ascii || !g_utf8_validate(out.data(), static_cast<gssize>(out.size()), nullptr)) return out;
    std::unique_ptr<gchar, decltype(&g_free)> lower(g_utf8_strdown(out.data(), static_cast<gssize>(out.size())),
                                                    g_free);
    return lower.get();
}

// Host names carry only ASCII digits; digits of other scripts count as
// ordinary characters.
bool isDecimalDigit(char c) { return c >= '0' && c <= '9'; }

bool isOnlyDigits(std::string_view label) { return std::all_of(label.begin(), label.end(), isDecimalDigit); }

// Length in characters, not bytes, so that a label in another script is
// measured the way a reader counts it.
std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](unsigned char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

std::optional<std::string> WorkerExtras::siteWithDomainName(const std::string& host) {
    std::string site = lowercased(host);
    if (site.find(kFileUrlMarker) != std::string::npos) return std::nullopt;
    // A lone "^" is a name like any other; longer texts starting with it are not hosts.
    if (site.size() >= 2 && site.front() == '^') return std::nullopt;
    if (site.starts_with('.')) site.erase(0, 1);
    if (site.starts_with(kWwwPrefix)) site.erase(0, kWwwPrefix.size());

    // Only the last three labels matter, so they are found from the end
    // rather than by splitting the whole name: this runs once per cookie,
    // scope and storage file.
    const std::string_view name = site;
    const std::size_t lastDot = name.rfind('.');
    if (lastDot == std::string_view::npos) return site;

    // Digits matter only to tell a numeric last label (an IPv4 address, or
    // nothing after a trailing dot); the length test below measures the
    // label as it stands, digits included.
    const std::string_view last = name.substr(lastDot + 1);
    if (isOnlyDigits(last)) return site;

    const std::size_t secondDot = lastDot == 0 ? std::string_view::npos : name.rfind('.', lastDot - 1);
    const std::size_t secondStart = secondDot == std::string_view::npos ? 0 : secondDot + 1;
    if (characterCount(last) == 3) return std::string(name.substr(secondStart));
    if (secondDot == std::string_view::npos) return site;  // two labels
    const std::size_t thirdDot = secondDot == 0 ? std::string_view::npos : name.rfind('.', secondDot - 1);
    return std::string(name.substr(thirdDot == std::string_view::npos ? 0 : thirdDot + 1));
}

std::optional<std::vector<KeychainAttributes>> WorkerExtras::allAccounts(Platform& platform) {
    return accountsForService(platform, std::nullopt, nullptr);
}

std::optional<std::vector<KeychainAttributes>> WorkerExtras::allAccounts(Platform& platform,
                                                                         std::optional<KeychainError>* error) {
    return accountsForService(platform, std::nullopt, error);
}

std::optional<std::vector<KeychainAttributes>> WorkerExtras::accountsForService(
    Platform& platform, const std::optional<std::string>& service, std::optional<KeychainError>* error) {
    KeychainQuery query = _queryForService(service, std::nullopt);
    query.returnAttributes = true;
    query.matchLimitAll = true;
    KeychainSearchResult result = platform.copyMatching(query);
    if (result.status != kErrSecSuccess && error != nullptr) {
        *error = KeychainError{kKeychainErrorDomain, result.status};
        return std::nullopt;
    }
    return std::move(result.items);
}

KeychainQuery WorkerExtras::_queryForService(const std::optional<std::string>& service,
                                             const std::optional<std::string>& account) {
    KeychainQuery query;
    query.itemClass = kSecClassInternetPassword;
    query.service = service;
    query.account = account;
    return query;
}

}  // namespace tasselby
