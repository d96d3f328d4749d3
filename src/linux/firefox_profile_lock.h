#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tasselby {

// What Firefox's "lock" link in a profile says: "ADDRESS:+PID", the IPv4
// address of the machine that runs the browser and its process id.
struct FirefoxLockLink {
    std::string address;
    long pid = 0;
    bool operator==(const FirefoxLockLink&) const = default;

    // Nothing for a target of any other form.
    static std::optional<FirefoxLockLink> parse(std::string_view target);
};

}  // namespace tasselby
