#include "platform/secret_service_keychain.h"

#include <gio/gio.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tasselby {

namespace {

constexpr const char* kBusName = "org.freedesktop.secrets";
constexpr const char* kServicePath = "/org/freedesktop/secrets";
constexpr const char* kServiceInterface = "org.freedesktop.Secret.Service";
constexpr const char* kItemInterface = "org.freedesktop.Secret.Item";
constexpr const char* kPropertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* kSearchMethod = "SearchItems";
constexpr const char* kGetMethod = "Get";
constexpr const char* kAttributesProperty = "Attributes";

// Items of the network-password schema carry their schema as an attribute;
// a search without it would also find the keyring's other items.
constexpr const char* kSchemaAttribute = "xdg:schema";
constexpr const char* kNetworkPasswordSchema = "org.gnome.keyring.NetworkPassword";
constexpr const char* kServerAttribute = "server";
constexpr const char* kUserAttribute = "user";

// The network-password attributes and the keychain codes they are answered under.
constexpr std::pair<const char*, const char*> kAttributeCodes[] = {
    {"server", kSecAttrServer},     {"authtype", kSecAttrAuthenticationType}, {"protocol", kSecAttrProtocol},
    {"user", kSecAttrAccount},      {"port", kSecAttrPort},
};

// Desktop session buses let one connection wait for 50,000 answers at once;
// a bigger keyring is asked in waves below that.
constexpr std::size_t kMostCallsInFlight = 32768;

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GVariantUnref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
using VariantPtr = std::unique_ptr<GVariant, GVariantUnref>;

struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};

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

// A connection of our own rather than the shared one: nothing of one search
// (a cancelled start-up above all) lingers into the next, and losing the bus
// never ends the process.
GObjectPtr<GDBusConnection> connectToSessionBus(GCancellable* cancellable) {
    GError* rawError = nullptr;
    std::unique_ptr<gchar, GFree> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, cancellable, &rawError));
    ErrorPtr addressError(rawError);
    if (!address) return nullptr;
    GObjectPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
        address.get(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, cancellable, &rawError));
    ErrorPtr connectError(rawError);
    return connection;
}

// The search's answer: the object paths of unlocked and of locked items.
VariantPtr searchItems(GDBusConnection* connection, const KeychainQuery& query, GCancellable* cancellable,
                       std::chrono::milliseconds limit) {
    GVariantBuilder attributes;
    g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&attributes, "{ss}", kSchemaAttribute, kNetworkPasswordSchema);
    if (query.service) g_variant_builder_add(&attributes, "{ss}", kServerAttribute, query.service->c_str());
    if (query.account) g_variant_builder_add(&attributes, "{ss}", kUserAttribute, query.account->c_str());
    GError* rawError = nullptr;
    VariantPtr reply(g_dbus_connection_call_sync(connection, kBusName, kServicePath, kServiceInterface, kSearchMethod,
                                                 g_variant_new("(a{ss})", &attributes), G_VARIANT_TYPE("(aoao)"),
                                                 G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(limit.count()),
                                                 cancellable, &rawError));
    ErrorPtr searchError(rawError);
    return reply;
}

// Asks for the attributes of every item with all calls in flight at once and
// collects the answers in the order of the paths. Runs its own main context
// on the calling thread, so the answers come back here and nowhere else.
class AttributeFetch {
public:
    AttributeFetch(GDBusConnection* connection, std::vector<std::string> paths)
        : connection_(connection), paths_(std::move(paths)), answers_(paths_.size()), calls_(paths_.size()) {}

    // Every item's attributes, or nothing when one failed or the limit passed first.
    std::optional<std::vector<KeychainAttributes>> fetch(std::chrono::milliseconds limit) {
        GMainContext* context = g_main_context_new();
        g_main_context_push_thread_default(context);
        GSource* timer = g_timeout_source_new(static_cast<guint>(limit.count()));
        g_source_set_callback(
            timer,
            [](gpointer expired) {
                *static_cast<bool*>(expired) = true;
                return G_SOURCE_REMOVE;
            },
            &expired_, nullptr);
        g_source_attach(timer, context);

        while (next_ < paths_.size() && inFlight_ < kMostCallsInFlight) issueNext();
        while (inFlight_ > 0 && !expired_ && !failed_) g_main_context_iteration(context, TRUE);
        // Whatever is still in flight is called off; its callbacks still run
        // (at once, as cancelled) before the state they point at goes away.
        stopped_ = true;
        g_cancellable_cancel(cancellable_.get());
        while (inFlight_ > 0) g_main_context_iteration(context, TRUE);

        g_source_destroy(timer);
        g_source_unref(timer);
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
        if (failed_ || next_ < paths_.size() || answered_ < paths_.size()) return std::nullopt;
        return std::move(answers_);
    }

private:
    struct Call {
        AttributeFetch* fetch;
        std::size_t index;
    };

    void issueNext() {
        const std::size_t index = next_++;
        calls_[index] = Call{this, index};
        ++inFlight_;
        // No per-call timeout: the fetch has one limit for all calls.
        g_dbus_connection_call(connection_, kBusName, paths_[index].c_str(), kPropertiesInterface, kGetMethod,
                               g_variant_new("(ss)", kItemInterface, kAttributesProperty), G_VARIANT_TYPE("(v)"),
                               G_DBUS_CALL_FLAGS_NO_AUTO_START, G_MAXINT, cancellable_.get(), &AttributeFetch::answered,
                               &calls_[index]);
    }

    static void answered(GObject* source, GAsyncResult* result, gpointer data) {
        const Call& call = *static_cast<Call*>(data);
        AttributeFetch& self = *call.fetch;
        GError* rawError = nullptr;
        VariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &rawError));
        ErrorPtr error(rawError);
        --self.inFlight_;
        if (!reply || !self.keep(call.index, reply.get())) self.failed_ = true;
        if (!self.stopped_ && !self.failed_ && self.next_ < self.paths_.size()) self.issueNext();
    }

    bool keep(std::size_t index, GVariant* reply) {
        GVariant* rawValue = nullptr;
        g_variant_get(reply, "(v)", &rawValue);
        VariantPtr value(rawValue);
        if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE("a{ss}"))) return false;
        KeychainAttributes& attributes = answers_[index];
        for (const auto& [name, code] : kAttributeCodes) {
            const gchar* text = nullptr;
            if (g_variant_lookup(value.get(), name, "&s", &text)) attributes[code] = text;
        }
        ++answered_;
        return true;
    }

    GDBusConnection* connection_;
    std::vector<std::string> paths_;
    std::vector<KeychainAttributes> answers_;
    std::vector<Call> calls_;  // one per path, at a fixed address for its callback
    GObjectPtr<GCancellable> cancellable_{g_cancellable_new()};
    std::size_t next_ = 0;
    std::size_t inFlight_ = 0;
    std::size_t answered_ = 0;
    bool expired_ = false;
    bool failed_ = false;
    bool stopped_ = false;
};

std::vector<std::string> objectPaths(GVariant* paths) {
    std::vector<std::string> answer;
    answer.reserve(g_variant_n_children(paths));
    GVariantIter iter;
    g_variant_iter_init(&iter, paths);
    const gchar* path = nullptr;
    while (g_variant_iter_next(&iter, "&o", &path)) answer.emplace_back(path);
    return answer;
}

}  // namespace

KeychainSearchResult SecretServiceKeychain::copyMatching(const KeychainQuery& query) const {
    // The keyring holds nothing but network passwords.
    if (query.itemClass != kSecClassInternetPassword) return {kErrSecItemNotFound, std::nullopt};

    GObjectPtr<GDBusConnection> connection;
    VariantPtr found;
    {
        GObjectPtr<GCancellable> cancellable(g_cancellable_new());
        Watchdog watchdog(cancellable.get(), searchLimit_);
        connection = connectToSessionBus(cancellable.get());
        if (!connection) return {kErrSecNotAvailable, std::nullopt};
        found = searchItems(connection.get(), query, cancellable.get(), searchLimit_);
        if (!found) return {kErrSecNotAvailable, std::nullopt};
    }

    VariantPtr unlocked(g_variant_get_child_value(found.get(), 0));
    VariantPtr locked(g_variant_get_child_value(found.get(), 1));
    // A locked keyring shows only hashed attributes: its servers cannot be
    // read, and unlocking would ask the user. Those saved passwords are there
    // all the same, so the answer is not "none".
    if (g_variant_n_children(locked.get()) > 0) return {kErrSecInteractionNotAllowed, std::nullopt};
    if (g_variant_n_children(unlocked.get()) == 0) return {kErrSecItemNotFound, std::nullopt};

    AttributeFetch fetch(connection.get(), objectPaths(unlocked.get()));
    std::optional<std::vector<KeychainAttributes>> items = fetch.fetch(attributesLimit_);
    if (!items) return {kErrSecDataNotAvailable, std::nullopt};
    return {kErrSecSuccess, std::move(items)};
}

}  // namespace tasselby
