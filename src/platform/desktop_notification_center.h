#pragma once

#include <map>
#include <string>

#include "platform/platform.h"

typedef struct _GDBusConnection GDBusConnection;

namespace tasselby {

// The user notification centre on freedesktop desktop notifications: one
// Notify call to org.freedesktop.Notifications on the session bus.
// The notification's title becomes the summary; its subtitle (where the
// worker puts its report) and any informative text become the body, one
// line each. No actions are offered and sound is suppressed unless a sound
// is named. Without a session bus or a notification service nothing is shown,
// silently and at once.
class DesktopNotificationCenter : public UserNotificationCenter {
public:
    explicit DesktopNotificationCenter(std::string applicationName);
    ~DesktopNotificationCenter() override;
    DesktopNotificationCenter(const DesktopNotificationCenter&) = delete;
    DesktopNotificationCenter& operator=(const DesktopNotificationCenter&) = delete;

    void setDelegate(UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
    UserNotificationCenterDelegate* delegate() const override { return delegate_; }
    void scheduleNotification(const UserNotification& notification) override;
    void removeDeliveredNotification(const UserNotification& notification) override;

    // The body text that a notification is shown with.
    static std::string bodyOf(const UserNotification& notification);

private:
    bool connect();

    std::string applicationName_;
    UserNotificationCenterDelegate* delegate_ = nullptr;
    GDBusConnection* bus_ = nullptr;
    std::uint32_t lastIdentifier_ = 0;
    std::map<std::uint32_t, std::uint32_t> delivered_;  // our identifier to the service's
};

}  // namespace tasselby
