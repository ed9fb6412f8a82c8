// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace quillo {

// Control-shift-space on a Wayland desktop, where no program may grab keys: the desktop's
// global-shortcuts portal binds it for us (the user may pick another key in its dialog) and
// tells us when it is pressed. Binding takes two round trips through the portal; until they
// are done, or when the desktop has no such portal, `registered()` is false and
// `quillo --open` bound in the desktop's own settings is the way.
class PortalHotKey : public QObject {
    Q_OBJECT

public:
    explicit PortalHotKey(QDBusConnection bus, QObject* parent = nullptr);

    bool registered() const { return m_registered; }

    static QString shortcutId();

Q_SIGNALS:
    void pressed();
    // No portal, or the desktop declined: the key stays unbound.
    void unavailable();

private Q_SLOTS:
    void sessionCreated(uint response, const QVariantMap& results);
    void shortcutsBound(uint response, const QVariantMap& results);
    void activated(const QDBusObjectPath& session, const QString& shortcut, qulonglong timestamp,
                   const QVariantMap& options);

private:
    // Calls `method` of the shortcuts portal; its answer comes to `onResponse`.
    void request(const QString& method, const QList<QVariant>& arguments, const char* onResponse);

    QDBusConnection m_bus;
    QString m_session;
    bool m_registered = false;
};

} // namespace quillo
