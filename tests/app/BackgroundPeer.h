// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PortalPeer.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QVariantMap>

namespace quillo::apptest {

// Plays the desktop's background portal on a connection of its own: records each
// RequestBackground and answers with a request object whose Response signal follows, as the
// real portal does.
class BackgroundPeer : public QDBusVirtualObject {
public:
    explicit BackgroundPeer(QDBusConnection connection)
        : m_connection(std::move(connection)) {
        m_connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
        m_connection.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this);
    }
    ~BackgroundPeer() override {
        m_connection.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
        m_connection.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    // What Response says: 0 granted, 1 the user declined; and its results.
    uint answer = 0;
    QVariantMap results{{QStringLiteral("background"), true}, {QStringLiteral("autostart"), false}};
    // Each request's parent window and options.
    QList<std::pair<QString, QVariantMap>> requests;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != QStringLiteral("org.freedesktop.portal.Background") ||
            message.member() != QStringLiteral("RequestBackground") ||
            message.arguments().size() != 2)
            return false;
        const QVariantMap options = qdbus_cast<QVariantMap>(message.arguments().at(1));
        requests.append({message.arguments().at(0).toString(), options});
        answerPortalCall(message, connection, portalRequestPath(message, options), answer, results);
        return true;
    }

private:
    QDBusConnection m_connection;
};

} // namespace quillo::apptest
