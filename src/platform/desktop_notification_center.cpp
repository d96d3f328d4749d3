#include "platform/desktop_notification_center.h"

#include <gio/gio.h>
#include <libnotify/notify.h>

namespace tasselby {

DesktopNotificationCenter::DesktopNotificationCenter(std::string applicationName)
    : applicationName_(std::move(applicationName)) {}

DesktopNotificationCenter::~DesktopNotificationCenter() {
    for (auto& [identifier, notification] : delivered_) g_object_unref(notification);
    if (initialised_) notify_uninit();
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
    if (initialised_) return true;
    // Asking for the bus first makes a missing session bus fail at once and
    // keeps GLib from ending the process should the bus go away later.
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (bus == nullptr) {
        g_clear_error(&error);
        return false;
    }
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_object_unref(bus);
    initialised_ = notify_init(applicationName_.c_str());
    return initialised_;
}

void DesktopNotificationCenter::scheduleNotification(const UserNotification& notification) {
    if (!connect()) return;
    std::string body = bodyOf(notification);
    NotifyNotification* shown = notify_notification_new(notification.title.c_str(), body.c_str(), nullptr);
    if (!notification.soundName) {
        notify_notification_set_hint(shown, "suppress-sound", g_variant_new_boolean(TRUE));
    } else {
        notify_notification_set_hint(shown, "sound-name", g_variant_new_string(notification.soundName->c_str()));
    }
    GError* error = nullptr;
    if (!notify_notification_show(shown, &error)) {
        // A missing notification service is not the worker's failure to report.
        g_clear_error(&error);
        g_object_unref(shown);
        return;
    }
    delivered_[++lastIdentifier_] = shown;
}

void DesktopNotificationCenter::removeDeliveredNotification(const UserNotification& notification) {
    auto found = delivered_.find(notification.identifier);
    if (found == delivered_.end()) return;
    GError* error = nullptr;
    notify_notification_close(found->second, &error);
    g_clear_error(&error);
    g_object_unref(found->second);
    delivered_.erase(found);
}

}  // namespace tasselby
