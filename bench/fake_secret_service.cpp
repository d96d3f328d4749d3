// A keyring service of our own on the session bus (org.freedesktop.secrets),
// for the keychain benchmark and for the integration tests' cases that
// gnome-keyring cannot be made to show. It holds ITEMS form passwords
// for www.site1.com ... www.siteITEMS.com and knows only what the worker asks:
// SearchItems, and the Attributes and Locked properties of its items.
//
//   fake_secret_service [--items ITEMS] [--locked N] [--delay MS] [--stall-after N] [--stall-search]
//                       [--fail-search] [--frozen]
//
//   --delay MS        waits MS milliseconds before each answer, one after another
//   --locked N        the last N items are locked: the search lists them apart
//   --stall-after N   answers N property requests, then never another
//   --stall-search    never answers a search (but answers a ping)
//   --fail-search     answers a search with an error
//   --frozen          never answers anything, not even a ping
//
// Calls left unanswered stay pending until the service is ended.
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const char* kBusName = "org.freedesktop.secrets";
constexpr const char* kServicePath = "/org/freedesktop/secrets";
constexpr const char* kCollectionPath = "/org/freedesktop/secrets/collection/login";
constexpr const char* kServiceInterface = "org.freedesktop.Secret.Service";
constexpr const char* kPropertiesInterface = "org.freedesktop.DBus.Properties";

struct Options {
    long items = 3;
    long locked = 0;
    long delay = 0;        // milliseconds before each answer
    long stallAfter = -1;  // negative: answers every request
    bool stallSearch = false;
    bool failSearch = false;
    bool frozen = false;
};

// Answers straight from the connection's message filter, on the bus's own
// thread: no object per item, no hop to a main loop, so that a timing against
// this service is mostly the asker's. Calls it does not know go on to GDBus,
// which answers that there is no such method.
class FakeSecretService {
public:
    explicit FakeSecretService(Options options) : options_(options) {}

    void publish(GDBusConnection* connection) { g_dbus_connection_add_filter(connection, &filter, this, nullptr); }

private:
    static GDBusMessage* filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming, gpointer data) {
        if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return message;
        auto& self = *static_cast<FakeSecretService*>(data);
        if (self.options_.frozen) return self.hold(message);
        const std::string path = nonNull(g_dbus_message_get_path(message));
        const std::string interface = nonNull(g_dbus_message_get_interface(message));
        const std::string member = nonNull(g_dbus_message_get_member(message));
        GDBusMessage* reply = nullptr;
        if (path == kServicePath && interface == kServiceInterface && member == "SearchItems") {
            if (self.options_.stallSearch) return self.hold(message);
            if (self.options_.failSearch) {
                reply = g_dbus_message_new_method_error(message, "org.freedesktop.DBus.Error.Failed", "No search");
            } else {
                reply = g_dbus_message_new_method_reply(message);
                g_dbus_message_set_body(reply, self.search());
            }
        } else if (const long item = self.itemNumber(path);
                   item != 0 && interface == kPropertiesInterface && (member == "Get" || member == "GetAll")) {
            if (self.options_.stallAfter >= 0 && self.answered_ >= self.options_.stallAfter) return self.hold(message);
            ++self.answered_;
            if (self.options_.delay > 0) g_usleep(static_cast<gulong>(self.options_.delay) * 1000);
            reply = self.properties(message, item, member == "GetAll");
        } else {
            return message;
        }
        g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(reply);
        g_object_unref(message);
        return nullptr;
    }

    static const char* nonNull(const char* text) { return text != nullptr ? text : ""; }

    GDBusMessage* hold(GDBusMessage* message) {
        held_.push_back(message);
        return nullptr;
    }

    GVariant* search() const {
        GVariantBuilder unlocked, locked;
        g_variant_builder_init(&unlocked, G_VARIANT_TYPE("ao"));
        g_variant_builder_init(&locked, G_VARIANT_TYPE("ao"));
        for (long item = 1; item <= options_.items; ++item) {
            const std::string path = std::string(kCollectionPath) + "/" + std::to_string(item);
            g_variant_builder_add(isLocked(item) ? &locked : &unlocked, "o", path.c_str());
        }
        return g_variant_new("(aoao)", &unlocked, &locked);
    }

    // The answer to Get (Attributes or Locked) or GetAll (both).
    GDBusMessage* properties(GDBusMessage* message, long item, bool all) const {
        GVariant* body = nullptr;
        if (all) {
            GVariantBuilder both;
            g_variant_builder_init(&both, G_VARIANT_TYPE("a{sv}"));
            g_variant_builder_add(&both, "{sv}", "Attributes", attributes(item));
            g_variant_builder_add(&both, "{sv}", "Locked", g_variant_new_boolean(isLocked(item)));
            body = g_variant_new("(a{sv})", &both);
        } else {
            const gchar* name = "";
            GVariant* asked = g_dbus_message_get_body(message);
            if (asked != nullptr && g_variant_is_of_type(asked, G_VARIANT_TYPE("(ss)"))) {
                g_variant_get(asked, "(&s&s)", nullptr, &name);
            }
            if (std::strcmp(name, "Attributes") == 0) {
                body = g_variant_new("(v)", attributes(item));
            } else if (std::strcmp(name, "Locked") == 0) {
                body = g_variant_new("(v)", g_variant_new_boolean(isLocked(item)));
            } else {
                return g_dbus_message_new_method_error(message, "org.freedesktop.DBus.Error.InvalidArgs",
                                                       "No such property");
            }
        }
        GDBusMessage* reply = g_dbus_message_new_method_reply(message);
        g_dbus_message_set_body(reply, body);
        return reply;
    }

    // The item a path names, or 0 for none.
    long itemNumber(const std::string& path) const {
        const std::string prefix = std::string(kCollectionPath) + "/";
        if (!path.starts_with(prefix)) return 0;
        char* end = nullptr;
        const long item = std::strtol(path.c_str() + prefix.size(), &end, 10);
        return *end == '\0' && item >= 1 && item <= options_.items ? item : 0;
    }

    bool isLocked(long item) const { return item > options_.items - options_.locked; }

    static GVariant* attributes(long item) {
        const std::string server = "www.site" + std::to_string(item) + ".com";
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
        g_variant_builder_add(&builder, "{ss}", "xdg:schema", "org.gnome.keyring.NetworkPassword");
        g_variant_builder_add(&builder, "{ss}", "server", server.c_str());
        g_variant_builder_add(&builder, "{ss}", "authtype", "form");
        g_variant_builder_add(&builder, "{ss}", "protocol", "https");
        g_variant_builder_add(&builder, "{ss}", "user", "alice");
        return g_variant_builder_end(&builder);
    }

    const Options options_;
    long answered_ = 0;                 // touched on the bus's thread only
    std::vector<GDBusMessage*> held_;  // calls never answered
};

bool parse(int argc, char* argv[], Options& options) {
    for (int index = 1; index < argc; ++index) {
        const std::string option = argv[index];
        bool* flag = option == "--stall-search"  ? &options.stallSearch
                     : option == "--fail-search" ? &options.failSearch
                     : option == "--frozen"      ? &options.frozen
                                                 : nullptr;
        if (flag != nullptr) {
            *flag = true;
            continue;
        }
        long* number = option == "--items"         ? &options.items
                       : option == "--locked"      ? &options.locked
                       : option == "--delay"       ? &options.delay
                       : option == "--stall-after" ? &options.stallAfter
                                                   : nullptr;
        if (number == nullptr || ++index == argc) return false;
        char* end = nullptr;
        *number = std::strtol(argv[index], &end, 10);
        if (*end != '\0' || *number < 0) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char* argv[]) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: fake_secret_service [--items N] [--locked N] [--delay MS] [--stall-after N] "
                     "[--stall-search] [--fail-search] [--frozen]\n");
        return 2;
    }
    FakeSecretService service(options);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    // The service answers before the name is owned: whoever waits for the
    // name finds it ready.
    g_bus_own_name(
        G_BUS_TYPE_SESSION, kBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection* connection, const gchar*, gpointer data) {
            static_cast<FakeSecretService*>(data)->publish(connection);
        },
        nullptr,
        [](GDBusConnection*, const gchar*, gpointer) {
            std::fprintf(stderr, "fake_secret_service: the bus name %s is not ours\n", kBusName);
            std::exit(1);
        },
        &service, nullptr);
    g_main_loop_run(loop);
    return 0;
}
