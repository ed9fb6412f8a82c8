// SPDX-License-Identifier: Apache-2.0
#include "PortalRequest.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>

#include <atomic>

namespace quillo::portal {

namespace {

const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

QString nextToken() {
    static std::atomic<int> tokens = 0;
    return QStringLiteral("quillo%1").arg(++tokens);
}

void request(QDBusConnection bus, const QString& interface, const QString& method,
             const QList<QVariant>& arguments, QObject* receiver, const char* onResponse,
             std::function<void(const QString& message)> onFailure) {
    const QString token =
        arguments.constLast().toMap().value(QStringLiteral("handle_token")).toString();
    QString sender = bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString requestPath = path + QStringLiteral("/request/") + sender + u'/' + token;
    bus.connect(service, requestPath, requestInterface, QStringLiteral("Response"), receiver,
                onResponse);

    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), receiver);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, receiver,
                     [bus, requestPath, receiver, onResponse,
                      onFailure = std::move(onFailure)](QDBusPendingCallWatcher* finished) mutable {
                         finished->deleteLater();
                         if (!finished->isError())
                             return;
                         bus.disconnect(service, requestPath, requestInterface,
                                        QStringLiteral("Response"), receiver, onResponse);
                         if (onFailure)
                             onFailure(finished->error().message());
                     });
}

} // namespace quillo::portal
