// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace quillo::apptest {

// Plays the desktop's notification server, and hears the launcher entry.
class NotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Shown {
        uint replaces;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
    };
    QList<Shown> shown;
    QList<uint> closed;
    QList<QVariantMap> launcher;
    uint lastId = 0;

public Q_SLOTS:
    uint Notify(const QString&, uint replaces, const QString&, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int) {
        shown.append({replaces, summary, body, actions, hints});
        lastId = replaces ? replaces : uint(shown.size()) + 40;
        return lastId;
    }
    void CloseNotification(uint id) { closed.append(id); }
    void launcherUpdate(const QString&, const QVariantMap& properties) {
        launcher.append(properties);
    }
};

} // namespace quillo::apptest
