// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QList>
#include <QString>
#include <QVariant>

#include <functional>

class QObject;

namespace quillo::portal {

inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

// A handle token no other request of this process uses: answers come to a path made of our
// bus name and the token, so two requests sharing a token would hear each other's.
QString nextToken();

// Calls `method` of the portal's `interface` with `arguments`, whose last one is the options
// map carrying the handle token. The portal answers later with the Response signal of a request
// object whose path follows from our bus name and the token, so we listen there before asking;
// `onResponse` is a slot of `receiver` taking (uint response, QVariantMap results). When the call
// itself fails (no portal, or one without that interface) the listening ends and `onFailure`
// gets the bus's message; it is not called after `receiver` is gone.
void request(QDBusConnection bus, const QString& interface, const QString& method,
             const QList<QVariant>& arguments, QObject* receiver, const char* onResponse,
             std::function<void(const QString& message)> onFailure);

} // namespace quillo::portal
