// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>

namespace quillo::apptest {

// The request object the portal answers a call on: named after the caller's unique bus name
// and the call's handle token, as the real portal names it.
inline QString portalRequestPath(const QDBusMessage& call, const QVariantMap& options) {
    QString sender = call.service().mid(1);
    sender.replace(u'.', u'_');
    return QStringLiteral("/org/freedesktop/portal/desktop/request/") + sender + u'/' +
           options.value(QStringLiteral("handle_token")).toString();
}

// Replies to a portal call with its request object, then sends that request's Response.
inline void answerPortalCall(const QDBusMessage& call, const QDBusConnection& connection,
                             const QString& request, uint answer, const QVariantMap& results) {
    connection.send(call.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    QDBusMessage response = QDBusMessage::createSignal(
        request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
    response << answer << results;
    connection.send(response);
}

} // namespace quillo::apptest
