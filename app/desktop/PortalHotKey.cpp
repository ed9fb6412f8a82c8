// SPDX-License-Identifier: Apache-2.0
#include "PortalHotKey.h"

#include "DesktopLog.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>

namespace quillo {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

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
    const QVariantMap options{{QStringLiteral("handle_token"), nextToken()},
                              {QStringLiteral("session_handle_token"), QStringLiteral("quillo")}};
    request(QStringLiteral("CreateSession"), {options}, SLOT(sessionCreated(uint, QVariantMap)));
}

QString PortalHotKey::shortcutId() {
    return QStringLiteral("open-quillo");
}

QString PortalHotKey::nextToken() {
    return QStringLiteral("quillo%1").arg(++m_tokens);
}

void PortalHotKey::request(const QString& method, QList<QVariant> arguments,
                           const char* onResponse) {
    // The options map is always last and carries the handle token.
    const QString token =
        arguments.constLast().toMap().value(QStringLiteral("handle_token")).toString();
    QString sender = m_bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString requestPath = portalPath + QStringLiteral("/request/") + sender + u'/' + token;
    m_bus.connect(portalService, requestPath, requestInterface, QStringLiteral("Response"), this,
                  onResponse);

    QDBusMessage call =
        QDBusMessage::createMethodCall(portalService, portalPath, shortcutsInterface, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, method, requestPath, onResponse](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (!finished->isError())
                    return;
                qCInfo(lcHotKey) << "no global shortcuts portal:" << method
                                 << finished->error().message();
                m_bus.disconnect(portalService, requestPath, requestInterface,
                                 QStringLiteral("Response"), this, onResponse);
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
    m_bus.connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Activated"), this,
                  SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    const QList<PortalShortcut> shortcuts{
        {shortcutId(),
         {{QStringLiteral("description"), QStringLiteral("Bring Quillo forward")},
          {QStringLiteral("preferred_trigger"), QStringLiteral("CTRL+SHIFT+space")}}}};
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts),
             QString(), QVariantMap{{QStringLiteral("handle_token"), nextToken()}}},
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
