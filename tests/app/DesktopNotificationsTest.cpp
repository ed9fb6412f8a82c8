// SPDX-License-Identifier: Apache-2.0
#include "desktop/DesktopNotifications.h"
#include "EventsUntil.h"
#include "NotificationServer.h"
#include "PrivateBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::eventsUntil;
using quillo::apptest::NotificationServer;
using quillo::apptest::PrivateBus;

namespace {

NotificationPayload payload(const QString& body) {
    return {QStringLiteral("sasha"),   QStringLiteral("Sasha Volkov"), QStringLiteral("SV"),
            QStringLiteral("#5BB6FF"), QStringLiteral("Russian · A2"), body};
}

} // namespace

TEST(DesktopNotifications, AReplyIsShownReplacedAndItsActionOpensTheConversation) {
    PrivateBus bus;
    ASSERT_FALSE(bus.address().isEmpty()) << "dbus-daemon did not start";
    QDBusConnection desktop = bus.connect(QStringLiteral("desktop"));
    QDBusConnection app = bus.connect(QStringLiteral("app"));
    DesktopNotifications notifications(app, [](const NotificationPayload&) {
        QImage avatar(8, 8, QImage::Format_ARGB32);
        avatar.fill(Qt::blue);
        return avatar;
    });
    EXPECT_FALSE(notifications.available()) << "no server on the bus yet";

    NotificationServer server;
    ASSERT_TRUE(desktop.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &server,
                                       QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(desktop.registerService(QStringLiteral("org.freedesktop.Notifications")));
    ASSERT_TRUE(notifications.available());

    notifications.show(payload(QStringLiteral("Привет!")));
    ASSERT_TRUE(eventsUntil([&] { return notifications.showing(u"sasha"_qs); }));
    const NotificationServer::Shown first = server.shown.first();
    EXPECT_EQ(first.summary, u"Sasha Volkov");
    EXPECT_EQ(first.body, u"Russian · A2\nПривет!");
    EXPECT_EQ(first.actions, (QStringList{u"default"_qs, u"Open"_qs}));
    EXPECT_EQ(first.hints.value(u"desktop-entry"_qs).toString(), u"app.quillo.mac");
    EXPECT_TRUE(first.hints.contains(u"image-data"_qs)) << "the contact's avatar";

    // The contact's next reply replaces its notification rather than piling up.
    notifications.show(payload(QStringLiteral("Как дела?")));
    ASSERT_TRUE(eventsUntil([&] { return server.shown.size() == 2; }));
    ASSERT_TRUE(eventsUntil([&] { return notifications.showing(u"sasha"_qs); }));
    EXPECT_EQ(server.shown.last().replaces, 41u);

    QSignalSpy activated(&notifications, &DesktopNotifications::activated);
    QDBusMessage invoked = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
    invoked << 41u << QStringLiteral("default");
    desktop.send(invoked);
    ASSERT_TRUE(eventsUntil([&] { return activated.count() == 1; }));
    EXPECT_EQ(activated.first().first().toString(), u"sasha");

    // Reading the chat elsewhere takes a notification away.
    notifications.show(payload(QStringLiteral("?")));
    ASSERT_TRUE(eventsUntil([&] { return notifications.showing(u"sasha"_qs); }));
    notifications.withdraw(QStringLiteral("sasha"));
    ASSERT_TRUE(eventsUntil([&] { return server.closed.size() == 1; }));
}

TEST(DesktopNotifications, TheUnreadCountReachesTheLauncherEntry) {
    PrivateBus bus;
    ASSERT_FALSE(bus.address().isEmpty()) << "dbus-daemon did not start";
    QDBusConnection dock = bus.connect(QStringLiteral("dock"));
    NotificationServer listener;
    ASSERT_TRUE(dock.connect({}, {}, QStringLiteral("com.canonical.Unity.LauncherEntry"),
                             QStringLiteral("Update"), &listener,
                             SLOT(launcherUpdate(QString, QVariantMap))));
    DesktopNotifications notifications(bus.connect(QStringLiteral("app")));
    notifications.setUnread(3);
    notifications.setUnread(0);
    ASSERT_TRUE(eventsUntil([&] { return listener.launcher.size() == 2; }));
    EXPECT_EQ(listener.launcher[0].value(u"count"_qs).toLongLong(), 3);
    EXPECT_TRUE(listener.launcher[0].value(u"count-visible"_qs).toBool());
    EXPECT_FALSE(listener.launcher[1].value(u"count-visible"_qs).toBool());
}
