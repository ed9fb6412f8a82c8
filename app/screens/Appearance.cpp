#include "Appearance.h"

#include "repository/ChatRepository.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

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

Appearance::Appearance(ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    connect(&repository, &ChatRepository::stateChanged, this, &Appearance::update);
    update();
    askPortal();
}

void Appearance::setDesktopScheme(uint scheme) {
    m_desktopScheme = scheme;
    update();
}

void Appearance::askPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
    read << appearanceNamespace << colorSchemeKey;
    // Asked without waiting: start-up does not stall on a slow or missing portal.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                const QDBusPendingReply<QVariant> reply = *call;
                if (!reply.isError())
                    setDesktopScheme(schemeOf(reply.value()));
                call->deleteLater();
            });
}

void Appearance::portalSettingChanged(const QString& space, const QString& key,
                                      const QDBusVariant& value) {
    if (space == appearanceNamespace && key == colorSchemeKey)
        setDesktopScheme(schemeOf(value.variant()));
}

void Appearance::update() {
    bool dark = false;
    switch (m_repository.state().theme) {
    case ThemeChoice::Dark:
        dark = true;
        break;
    case ThemeChoice::Light:
        break;
    case ThemeChoice::System:
        dark = m_desktopScheme == 1;
        break;
    }
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
}

} // namespace quillo
