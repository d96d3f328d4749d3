#include "keep/worker_extras.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "app/text.h"

namespace tasselby {

namespace {

constexpr std::string_view kFileUrlMarker = "file:///";
constexpr std::string_view kWwwPrefix = "www.";

// Lower case byte by byte: host names are ASCII, and the bytes of other UTF-8
// characters are left as they are rather than mangled.
std::string lowercased(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
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

    std::vector<std::string> labels = componentsSeparatedByString(site, ".");
    const std::size_t n = labels.size();
    if (n == 1) return site;

    // Digits matter only to tell a numeric last label (an IPv4 address, or
    // nothing after a trailing dot); the length test below measures the
    // label as it stands, digits included.
    const std::string& last = labels[n - 1];
    if (isOnlyDigits(last)) return site;

    if (characterCount(last) == 3) return stringWithFormat("%@.%@", {labels[n - 2], last});
    if (n < 3) return site;
    return stringWithFormat("%@.%@.%@", {labels[n - 3], labels[n - 2], last});
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
