// The lock link texts that say a browser runs: Chromium's "SingletonLock"
// ("HOST-PID") and Firefox's "lock" ("ADDRESS:+PID"). A text that parses
// names a process above zero and is written back from its parts, the
// process in any spelling that reads as the same number; and any host with
// any process, written so, reads back as those two.
#include <charconv>
#include <cstdlib>
#include <string>

#include "fuzz_input.h"
#include "linux/firefox_profile_lock.h"
#include "linux/running_browser.h"

namespace {

using tasselby::FirefoxLockLink;
using tasselby::RunningBrowser;

// Whether text is head and then a decimal spelling of pid (leading zeros allowed).
bool writtenAs(std::string_view text, const std::string& head, long pid) {
    if (!text.starts_with(head)) return false;
    text.remove_prefix(head.size());
    long read = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    return error == std::errc() && end == text.data() + text.size() && read == pid;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(tasselby::fuzz::text(data, size));
    if (std::optional<RunningBrowser::LockOwner> owner = RunningBrowser::parseSingletonLock(text)) {
        if (owner->host.empty() || owner->pid <= 0) std::abort();
        if (!writtenAs(text, owner->host + "-", owner->pid)) std::abort();
    }
    if (std::optional<FirefoxLockLink> link = FirefoxLockLink::parse(text)) {
        if (link->address.empty() || link->pid <= 0) std::abort();
        if (!writtenAs(text, link->address + ":+", link->pid)) std::abort();
    }
    // The bytes as a host (or address), with a process id of their length.
    if (!text.empty()) {
        long pid = static_cast<long>(size) * 7919;
        std::optional<RunningBrowser::LockOwner> owner =
            RunningBrowser::parseSingletonLock(text + "-" + std::to_string(pid));
        if (!owner || owner->host != text || owner->pid != pid) std::abort();
        if (FirefoxLockLink::parse(text + ":+" + std::to_string(pid)) != FirefoxLockLink{text, pid}) std::abort();
    }
    return 0;
}
