// The keys of Chromium's Local Storage and service-worker LevelDB stores:
// each line one entry, "KEY" or "KEY<tab>VALUE". A key read is written back
// from its parts; storage keys in every form read back as themselves; and
// the service-worker entries judged once with hosts beginning with "k" kept
// and once with all other hosts kept never lose the same key twice: no key
// is judged both kept and removed. Each judgement takes existing keys, each
// once, and names only origins it does not keep.
#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "fuzz_input.h"
#include "linux/chromium_storage_keys.h"
#include "linux/web_origin.h"

namespace {

using namespace std::string_literals;
using tasselby::ChromiumStorageKeys;

void checkKey(const std::string& key) {
    if (std::optional<std::string_view> storageKey = ChromiumStorageKeys::localStorageKey(key)) {
        if (key.find(*storageKey) == std::string::npos) std::abort();
    }
    if (std::optional<ChromiumStorageKeys::Registration> registration = ChromiumStorageKeys::registrationKey(key)) {
        if (registration->origin.empty() || registration->id.empty()) std::abort();
        if ("REG:"s.append(registration->origin) + '\0' + std::string(registration->id) != key) std::abort();
    }
    // The line up to its first zero byte as a storage key, in each form a key holds one.
    const std::string storageKey = key.substr(0, key.find('\0'));
    for (const std::string& form : {"META:" + storageKey, "METAACCESS:" + storageKey, "_" + storageKey + "\0\x01k"s}) {
        if (ChromiumStorageKeys::localStorageKey(form) != storageKey) std::abort();
    }
    if (!storageKey.empty()) {
        const std::string written = "REG:" + storageKey + "\0""12"s;
        std::optional<ChromiumStorageKeys::Registration> registration = ChromiumStorageKeys::registrationKey(written);
        if (!registration || registration->origin != storageKey || registration->id != "12") std::abort();
    }
}

bool keptByK(const std::string& host) { return host.starts_with('k'); }

std::set<std::string> checkedDeletion(const std::map<std::string, std::string>& store,
                                      const ChromiumStorageKeys::Entries& entries, bool kept) {
    ChromiumStorageKeys::ServiceWorkerDeletion deletion = ChromiumStorageKeys::serviceWorkerDeletion(
        entries, [kept](const std::string& host) { return keptByK(host) == kept; });
    std::set<std::string> keys;
    for (const std::string& key : deletion.keys) {
        if (!store.contains(key) || !keys.insert(key).second) std::abort();
    }
    std::set<std::string> origins;
    for (const std::string& origin : deletion.origins) {
        std::optional<tasselby::WebOrigin> read = tasselby::WebOrigin::fromUrl(origin);
        if (!read || keptByK(read->host) == kept || !origins.insert(origin).second) std::abort();
    }
    return keys;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A LevelDB holds each key once, in byte order.
    std::map<std::string, std::string> store;
    for (const std::string& line : tasselby::fuzz::lines(tasselby::fuzz::text(data, size))) {
        std::size_t tab = line.find('\t');
        store[line.substr(0, tab)] = tab == std::string::npos ? "" : line.substr(tab + 1);
    }
    for (const auto& [key, value] : store) checkKey(key);
    const ChromiumStorageKeys::Entries entries(store.begin(), store.end());
    std::set<std::string> removedKeepingK = checkedDeletion(store, entries, true);
    for (const std::string& key : checkedDeletion(store, entries, false)) {
        if (removedKeepingK.contains(key)) std::abort();
    }
    return 0;
}
