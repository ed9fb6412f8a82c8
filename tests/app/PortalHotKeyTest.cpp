// SPDX-License-Identifier: Apache-2.0
#include "desktop/PortalHotKey.h"
#include "EventsUntil.h"
#include "PortalPeer.h"
#include "PrivateBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::eventsUntil;
using quillo::apptest::PrivateBus;

namespace {

const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// Plays the desktop's global-shortcuts portal: answers each call with a request object whose
// Response signal follows, the way the real portal hands back results.
class ShortcutsPortal : public QDBusVirtualObject {
public:
    explicit ShortcutsPortal(QDBusConnection bus)
        : m_bus(std::move(bus)) {}

    uint answer = 0; // what Response says: 0 done, 1 the user declined
    QStringList calls;
    QStringList boundIds;
    QString boundTrigger;
    QString session;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != shortcutsInterface)
            return false;
        calls.append(message.member());
        const QVariantMap options = qdbus_cast<QVariantMap>(message.arguments().constLast());
        const QString request = apptest::portalRequestPath(message, options);
        QString sender = message.service().mid(1);
        sender.replace(u'.', u'_');
        QVariantMap results;
        if (message.member() == QStringLiteral("CreateSession")) {
            session = portalPath + QStringLiteral("/session/") + sender + u'/' +
                      options.value(QStringLiteral("session_handle_token")).toString();
            results.insert(QStringLiteral("session_handle"), session);
        } else if (message.member() == QStringLiteral("BindShortcuts")) {
            const QDBusArgument list = message.arguments().at(1).value<QDBusArgument>();
            list.beginArray();
            while (!list.atEnd()) {
                QString id;
                QVariantMap properties;
                list.beginStructure();
                list >> id >> properties;
                list.endStructure();
                boundIds.append(id);
                boundTrigger = properties.value(QStringLiteral("preferred_trigger")).toString();
            }
            list.endArray();
        } else {
            return false;
        }
        apptest::answerPortalCall(message, connection, request, answer, results);
        return true;
    }

    void press(const QString& id) {
        QDBusMessage activated =
            QDBusMessage::createSignal(portalPath, shortcutsInterface, QStringLiteral("Activated"));
        activated << QVariant::fromValue(QDBusObjectPath(session)) << id << qulonglong(1)
                  << QVariantMap();
        m_bus.send(activated);
    }

private:
    QDBusConnection m_bus;
};

struct PortalOnBus {
    PrivateBus bus;
    QDBusConnection desktop = bus.connect(QStringLiteral("desktop"));
    ShortcutsPortal portal{desktop};

    PortalOnBus() {
        desktop.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
        desktop.registerVirtualObject(portalPath, &portal);
    }
};

} // namespace

TEST(PortalHotKey, TheDesktopBindsControlShiftSpaceAndItsPressesBringQuilloForward) {
    PortalOnBus desktop;
    PortalHotKey hotKey(desktop.bus.connect(QStringLiteral("quillo")));
    ASSERT_TRUE(eventsUntil([&] { return hotKey.registered(); }));
    EXPECT_EQ(desktop.portal.calls,
              QStringList({QStringLiteral("CreateSession"), QStringLiteral("BindShortcuts")}));
    EXPECT_EQ(desktop.portal.boundIds, QStringList{PortalHotKey::shortcutId()});
    EXPECT_EQ(desktop.portal.boundTrigger, QStringLiteral("CTRL+SHIFT+space"));

    QSignalSpy pressed(&hotKey, &PortalHotKey::pressed);
    desktop.portal.press(QStringLiteral("someone-elses-shortcut"));
    desktop.portal.press(PortalHotKey::shortcutId());
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 1; }));
    desktop.portal.press(PortalHotKey::shortcutId());
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 2; }));
}

TEST(PortalHotKey, NoPortalOrADeclinedShortcutLeavesNothingRegistered) {
    PrivateBus bare;
    PortalHotKey alone(bare.connect(QStringLiteral("quillo")));
    QSignalSpy aloneGaveUp(&alone, &PortalHotKey::unavailable);
    ASSERT_TRUE(eventsUntil([&] { return aloneGaveUp.count() == 1; }));
    EXPECT_FALSE(alone.registered());

    PortalOnBus desktop;
    desktop.portal.answer = 1;
    PortalHotKey declined(desktop.bus.connect(QStringLiteral("quillo")));
    QSignalSpy gaveUp(&declined, &PortalHotKey::unavailable);
    ASSERT_TRUE(eventsUntil([&] { return gaveUp.count() == 1; }));
    EXPECT_FALSE(declined.registered());
    EXPECT_EQ(desktop.portal.calls, QStringList{QStringLiteral("CreateSession")});
}
