// SPDX-License-Identifier: Apache-2.0
#include "PortalHotKey.h"

#include "DesktopLog.h"
#include "PortalRequest.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QLoggingCategory>

namespace quillo {

namespace {

const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// Portals have sent the session handle both as a string and as an object path.
QString pathText(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

} // namespace

// One entry of BindShortcuts' a(sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace quillo

Q_DECLARE_METATYPE(quillo::PortalShortcut)

namespace quillo {

PortalHotKey::PortalHotKey(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    if (!m_bus.isConnected())
        return;
    const QVariantMap options{{QStringLiteral("handle_token"), portal::nextToken()},
                              {QStringLiteral("session_handle_token"), QStringLiteral("quillo")}};
    request(QStringLiteral("CreateSession"), {options}, SLOT(sessionCreated(uint, QVariantMap)));
}

QString PortalHotKey::shortcutId() {
    return QStringLiteral("open-quillo");
}

void PortalHotKey::request(const QString& method, const QList<QVariant>& arguments,
                           const char* onResponse) {
    portal::request(m_bus, shortcutsInterface, method, arguments, this, onResponse,
                    [this, method](const QString& message) {
                        qCInfo(lcHotKey) << "no global shortcuts portal:" << method << message;
                        Q_EMIT unavailable();
                    });
}

void PortalHotKey::sessionCreated(uint response, const QVariantMap& results) {
    if (response != 0) {
        qCInfo(lcHotKey) << "the desktop declined a shortcuts session";
        Q_EMIT unavailable();
        return;
    }
    m_session = pathText(results.value(QStringLiteral("session_handle")));
    if (m_session.isEmpty()) {
        Q_EMIT unavailable();
        return;
    }
    m_bus.connect(portal::service, portal::path, shortcutsInterface, QStringLiteral("Activated"),
                  this, SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    const QList<PortalShortcut> shortcuts{
        {shortcutId(),
         {{QStringLiteral("description"), QStringLiteral("Bring Quillo forward")},
          {QStringLiteral("preferred_trigger"), QStringLiteral("CTRL+SHIFT+space")}}}};
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts),
             QString(), QVariantMap{{QStringLiteral("handle_token"), portal::nextToken()}}},
            SLOT(shortcutsBound(uint, QVariantMap)));
}

void PortalHotKey::shortcutsBound(uint response, const QVariantMap&) {
    if (response != 0) {
        qCInfo(lcHotKey) << "the desktop declined the shortcut";
        Q_EMIT unavailable();
        return;
    }
    m_registered = true;
}

void PortalHotKey::activated(const QDBusObjectPath& session, const QString& shortcut, qulonglong,
                             const QVariantMap&) {
    if (m_registered && session.path() == m_session && shortcut == shortcutId())
        Q_EMIT pressed();
}

} // namespace quillo
