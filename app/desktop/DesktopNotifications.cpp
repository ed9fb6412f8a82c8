// SPDX-License-Identifier: Apache-2.0
#include "DesktopNotifications.h"

#include "store/AppIdentity.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace quillo {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

// The "image-data" hint: width, height, row stride, alpha, bits per sample, channels, bytes.
QDBusArgument imageData(const QImage& avatar) {
    const QImage image = avatar.convertToFormat(QImage::Format_RGBA8888);
    QDBusArgument argument;
    argument.beginStructure();
    argument << image.width() << image.height() << int(image.bytesPerLine()) << true << 8 << 4
             << QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    argument.endStructure();
    return argument;
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus, AvatarPainter avatar,
                                           QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_avatar(std::move(avatar)) {
    m_bus.connect(service, path, interface, QStringLiteral("ActionInvoked"), this,
                  SLOT(actionInvoked(uint, QString)));
    m_bus.connect(service, path, interface, QStringLiteral("NotificationClosed"), this,
                  SLOT(notificationClosed(uint, uint)));
}

bool DesktopNotifications::available() const {
    return m_bus.isConnected() && m_bus.interface() &&
           m_bus.interface()->isServiceRegistered(service).value();
}

void DesktopNotifications::show(const NotificationPayload& payload) {
    QVariantMap hints{{QStringLiteral("desktop-entry"), AppIdentity::bundleIdentifier()},
                      {QStringLiteral("category"), QStringLiteral("im.received")}};
    if (m_avatar) {
        const QImage avatar = m_avatar(payload);
        if (!avatar.isNull())
            hints.insert(QStringLiteral("image-data"), QVariant::fromValue(imageData(avatar)));
    }
    const QString body =
        payload.subtitle.isEmpty() ? payload.body : payload.subtitle + u'\n' + payload.body;
    QDBusMessage notify =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    notify << AppIdentity::displayName() << m_shown.value(payload.botId, 0)
           << AppIdentity::bundleIdentifier() << payload.title << body
           << QStringList{QStringLiteral("default"), QStringLiteral("Open")} << hints << -1;
    // Never waits: a slow notification server must not hold up the chat.
    auto* call = new QDBusPendingCallWatcher(m_bus.asyncCall(notify), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, botId = payload.botId](QDBusPendingCallWatcher* finished) {
                const QDBusPendingReply<uint> reply = *finished;
                if (!reply.isError())
                    m_shown.insert(botId, reply.value());
                finished->deleteLater();
            });
}

void DesktopNotifications::withdraw(const QString& botId) {
    const auto shown = m_shown.constFind(botId);
    if (shown == m_shown.cend())
        return;
    QDBusMessage close = QDBusMessage::createMethodCall(service, path, interface,
                                                        QStringLiteral("CloseNotification"));
    close << *shown;
    m_bus.asyncCall(close);
    m_shown.erase(shown);
}

void DesktopNotifications::setUnread(int count) {
    QDBusMessage update = QDBusMessage::createSignal(
        QStringLiteral("/app/quillo/launcher"), QStringLiteral("com.canonical.Unity.LauncherEntry"),
        QStringLiteral("Update"));
    update << QStringLiteral("application://%1.desktop").arg(AppIdentity::bundleIdentifier())
           << QVariantMap{{QStringLiteral("count"), qint64(std::max(count, 0))},
                          {QStringLiteral("count-visible"), count > 0}};
    m_bus.send(update);
}

void DesktopNotifications::actionInvoked(uint id, const QString& action) {
    if (action != QStringLiteral("default"))
        return;
    for (auto shown = m_shown.cbegin(); shown != m_shown.cend(); ++shown) {
        if (shown.value() == id) {
            const QString botId = shown.key();
            m_shown.erase(shown);
            Q_EMIT activated(botId);
            return;
        }
    }
}

void DesktopNotifications::notificationClosed(uint id, uint) {
    for (auto shown = m_shown.begin(); shown != m_shown.end(); ++shown) {
        if (shown.value() == id) {
            m_shown.erase(shown);
            return;
        }
    }
}

} // namespace quillo
