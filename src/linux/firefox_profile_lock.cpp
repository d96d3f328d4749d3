#include "linux/firefox_profile_lock.h"

#include <charconv>

namespace tasselby {

std::optional<FirefoxLockLink> FirefoxLockLink::parse(std::string_view target) {
    std::size_t colon = target.rfind(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    std::string_view pidText = target.substr(colon + 1);
    // Firefox writes the sign itself ("+"), but a "-" would not name a process.
    if (!pidText.starts_with('+')) return std::nullopt;
    pidText.remove_prefix(1);
    long pid = 0;
    auto [end, error] = std::from_chars(pidText.data(), pidText.data() + pidText.size(), pid);
    if (error != std::errc() || end != pidText.data() + pidText.size() || pid <= 0) return std::nullopt;
    return FirefoxLockLink{std::string(target.substr(0, colon)), pid};
}

}  // namespace tasselby
