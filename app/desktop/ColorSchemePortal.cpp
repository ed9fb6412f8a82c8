// SPDX-License-Identifier: Apache-2.0
#include "ColorSchemePortal.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace quillo {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceNamespace = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// The portal wraps the value in one or two variants, depending on its version.
uint schemeOf(QVariant value) {
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

} // namespace

ColorSchemePortal::ColorSchemePortal(QDBusConnection bus, QObject* parent)
    : QObject(parent) {
    if (!bus.isConnected())
        return;
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
    read << appearanceNamespace << colorSchemeKey;
    // Asked without waiting: start-up does not stall on a slow or missing portal.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                const QDBusPendingReply<QVariant> reply = *call;
                if (!reply.isError())
                    Q_EMIT schemeChanged(schemeOf(reply.value()));
                call->deleteLater();
            });
}

void ColorSchemePortal::settingChanged(const QString& space, const QString& key,
                                       const QDBusVariant& value) {
    if (space == appearanceNamespace && key == colorSchemeKey)
        Q_EMIT schemeChanged(schemeOf(value.variant()));
}

} // namespace quillo
