#include "platform/secret_service_keychain.h"

#include <libsecret/secret.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace tasselby {

namespace {

// The network-password attributes and the keychain codes they are answered under.
constexpr std::pair<const char*, const char*> kAttributeCodes[] = {
    {"server", kSecAttrServer},     {"authtype", kSecAttrAuthenticationType}, {"protocol", kSecAttrProtocol},
    {"user", kSecAttrAccount},      {"port", kSecAttrPort},
};
constexpr const char* kServerAttribute = "server";
constexpr const char* kUserAttribute = "user";

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GHashTableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using HashTablePtr = std::unique_ptr<GHashTable, GHashTableUnref>;

struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct ItemListFree {
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
};
using ItemListPtr = std::unique_ptr<GList, ItemListFree>;

// Cancels a cancellable when its time is up, unless it is ended first.
class Watchdog {
public:
    Watchdog(GCancellable* cancellable, std::chrono::milliseconds limit)
        : thread_([this, cancellable, limit] {
              std::unique_lock lock(mutex_);
              if (!ended_.wait_for(lock, limit, [this] { return done_; })) g_cancellable_cancel(cancellable);
          }) {}
    ~Watchdog() {
        {
            std::lock_guard lock(mutex_);
            done_ = true;
        }
        ended_.notify_one();
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool done_ = false;
    std::thread thread_;  // last: starts once the rest is in place
};

HashTablePtr searchAttributes(const KeychainQuery& query) {
    HashTablePtr attributes(g_hash_table_new(g_str_hash, g_str_equal));
    // The table only points at the query's strings, which outlive the search.
    if (query.service) g_hash_table_insert(attributes.get(), const_cast<char*>(kServerAttribute),
                                           const_cast<char*>(query.service->c_str()));
    if (query.account) g_hash_table_insert(attributes.get(), const_cast<char*>(kUserAttribute),
                                           const_cast<char*>(query.account->c_str()));
    return attributes;
}

KeychainAttributes keychainAttributes(SecretItem* item) {
    KeychainAttributes answer;
    HashTablePtr attributes(secret_item_get_attributes(item));
    if (!attributes) return answer;
    for (const auto& [name, code] : kAttributeCodes) {
        if (const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes.get(), name))) {
            answer[code] = value;
        }
    }
    return answer;
}

}  // namespace

KeychainSearchResult SecretServiceKeychain::copyMatching(const KeychainQuery& query) const {
    // The keyring holds nothing but network passwords.
    if (query.itemClass != kSecClassInternetPassword) return {kErrSecItemNotFound, std::nullopt};

    GObjectPtr<GCancellable> cancellable(g_cancellable_new());
    Watchdog watchdog(cancellable.get(), timeLimit_);

    GError* rawError = nullptr;
    // A service of our own rather than the shared one: nothing of one search
    // (a cancelled start-up above all) lingers into the next.
    GObjectPtr<SecretService> service(
        secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, cancellable.get(), &rawError));
    ErrorPtr openError(rawError);
    if (!service) return {kErrSecNotAvailable, std::nullopt};

    HashTablePtr attributes = searchAttributes(query);
    // Without SECRET_SEARCH_LOAD_SECRETS (and without SECRET_SEARCH_UNLOCK)
    // the search reads attributes only and never opens a secret session.
    ItemListPtr items(secret_service_search_sync(service.get(), SECRET_SCHEMA_COMPAT_NETWORK, attributes.get(),
                                                 SECRET_SEARCH_ALL, cancellable.get(), &rawError));
    ErrorPtr searchError(rawError);
    if (searchError) return {kErrSecNotAvailable, std::nullopt};

    std::vector<KeychainAttributes> found;
    for (GList* entry = items.get(); entry != nullptr; entry = entry->next) {
        auto* item = static_cast<SecretItem*>(entry->data);
        if (secret_item_get_locked(item)) continue;
        found.push_back(keychainAttributes(item));
    }
    if (found.empty()) return {kErrSecItemNotFound, std::nullopt};
    return {kErrSecSuccess, std::move(found)};
}

}  // namespace tasselby
