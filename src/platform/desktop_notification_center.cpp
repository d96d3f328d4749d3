#include "platform/desktop_notification_center.h"

#include <gio/gio.h>
#include <unistd.h>

namespace tasselby {

namespace {

constexpr const char* kNotificationsName = "org.freedesktop.Notifications";
constexpr const char* kNotificationsPath = "/org/freedesktop/Notifications";
constexpr const char* kNotificationsInterface = "org.freedesktop.Notifications";
constexpr gint32 kServerDefaultExpiry = -1;

}  // namespace

DesktopNotificationCenter::DesktopNotificationCenter(std::string applicationName)
    : applicationName_(std::move(applicationName)) {}

DesktopNotificationCenter::~DesktopNotificationCenter() {
    if (bus_ != nullptr) g_object_unref(bus_);
}

std::string DesktopNotificationCenter::bodyOf(const UserNotification& notification) {
    std::string body = notification.subtitle;
    if (!notification.informativeText.empty()) {
        if (!body.empty()) body.push_back('\n');
        body.append(notification.informativeText);
    }
    return body;
}

bool DesktopNotificationCenter::connect() {
    if (bus_ != nullptr) return true;
    // No session bus fails here at once.
    GError* error = nullptr;
    bus_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (bus_ == nullptr) {
        g_clear_error(&error);
        return false;
    }
    // GLib would otherwise end the process should the bus go away later.
    g_dbus_connection_set_exit_on_close(bus_, FALSE);
    return true;
}

void DesktopNotificationCenter::scheduleNotification(const UserNotification& notification) {
    if (!connect()) return;
    const std::string body = bodyOf(notification);
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
    if (!notification.soundName) {
        g_variant_builder_add(&hints, "{sv}", "suppress-sound", g_variant_new_boolean(TRUE));
    } else {
        g_variant_builder_add(&hints, "{sv}", "sound-name", g_variant_new_string(notification.soundName->c_str()));
    }
    g_variant_builder_add(&hints, "{sv}", "sender-pid", g_variant_new_int64(getpid()));
    GError* error = nullptr;
    // app_name, replaces_id, app_icon, summary, body, actions, hints, expire_timeout.
    GVariant* reply = g_dbus_connection_call_sync(
        bus_, kNotificationsName, kNotificationsPath, kNotificationsInterface, "Notify",
        g_variant_new("(susss@asa{sv}i)", applicationName_.c_str(), 0u, "", notification.title.c_str(), body.c_str(),
                      g_variant_new_strv(nullptr, 0), &hints, kServerDefaultExpiry),
        G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (reply == nullptr) {
        // A missing notification service is not the worker's failure to report.
        g_clear_error(&error);
        return;
    }
    guint32 shown = 0;
    g_variant_get(reply, "(u)", &shown);
    g_variant_unref(reply);
    delivered_[++lastIdentifier_] = shown;
}

void DesktopNotificationCenter::removeDeliveredNotification(const UserNotification& notification) {
    auto found = delivered_.find(notification.identifier);
    if (found == delivered_.end() || !connect()) return;
    GVariant* reply = g_dbus_connection_call_sync(bus_, kNotificationsName, kNotificationsPath,
                                                  kNotificationsInterface, "CloseNotification",
                                                  g_variant_new("(u)", found->second), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (reply != nullptr) g_variant_unref(reply);
    delivered_.erase(found);
}

}  // namespace tasselby
