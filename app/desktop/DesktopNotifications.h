// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "models/NotificationPayload.h"

#include <QDBusConnection>
#include <QHash>
#include <QImage>
#include <QObject>

#include <functional>

namespace quillo {

// Replies that arrive in the background as the desktop's own notifications
// (org.freedesktop.Notifications): one per contact, replaced by its next, whose default action
// opens the conversation. The unread count goes to docks and panels that read the launcher
// entry signal (com.canonical.Unity.LauncherEntry).
class DesktopNotifications : public QObject {
    Q_OBJECT

public:
    // Draws a contact's avatar for a notification; without one the application's icon shows.
    using AvatarPainter = std::function<QImage(const NotificationPayload&)>;

    explicit DesktopNotifications(QDBusConnection bus, AvatarPainter avatar = {},
                                  QObject* parent = nullptr);

    // Whether a notification server is on the bus now.
    bool available() const;
    void show(const NotificationPayload& payload);
    // Whether a notification of this contact is on screen.
    bool showing(const QString& botId) const { return m_shown.contains(botId); }
    // Takes a contact's notification away (its chat was read).
    void withdraw(const QString& botId);
    // Publishes the unread count to the launcher entry.
    void setUnread(int count);

Q_SIGNALS:
    // The user activated the notification of this contact.
    void activated(const QString& botId);

private Q_SLOTS:
    void actionInvoked(uint id, const QString& action);
    void notificationClosed(uint id, uint reason);

private:
    QDBusConnection m_bus;
    AvatarPainter m_avatar;
    QHash<QString, uint> m_shown; // contact → its notification on screen
};

} // namespace quillo
