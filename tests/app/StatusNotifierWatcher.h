// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QThread>

#include <atomic>

namespace quillo::apptest {

// What a panel's StatusNotifierWatcher shows on the session bus: whether a host (the panel that
// draws the items) is registered, and who registered an item.
class WatcherObject : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)

public:
    std::atomic<bool> host = false;

    bool hostRegistered() const { return host; }
    int protocolVersion() const { return 0; }
    QStringList items() const {
        QMutexLocker lock(&m_mutex);
        return m_items;
    }
    // The bus names that called RegisterStatusNotifierItem.
    QStringList callers() const {
        QMutexLocker lock(&m_mutex);
        return m_callers;
    }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message) {
        QMutexLocker lock(&m_mutex);
        m_items.append(service);
        m_callers.append(message.service());
    }
    void RegisterStatusNotifierHost(const QString&) {}

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierItemRegistered(const QString& service);

private:
    mutable QMutex m_mutex;
    QStringList m_items;
    QStringList m_callers;
};

// The watcher, on a connection and a thread of its own: Qt asks it with blocking calls from
// the main thread when it makes a tray icon, which a watcher living there could never answer.
class StatusNotifierWatcher {
public:
    explicit StatusNotifierWatcher(QDBusConnection bus)
        : m_bus(std::move(bus)) {
        m_object->moveToThread(&m_thread);
        m_thread.start();
    }
    ~StatusNotifierWatcher() {
        disappear();
        // Gone on its own thread as it ends, where its signals were relayed from.
        m_object->deleteLater();
        m_thread.quit();
        m_thread.wait();
    }

    // Takes the watcher's name, with or without a host behind it.
    bool appear(bool withHost) {
        m_object->host = withHost;
        // Registered from its own thread, where Qt makes the object's signal relay.
        bool exported = false;
        QMetaObject::invokeMethod(
            m_object,
            [this] {
                return m_bus.registerObject(path(), m_object,
                                            QDBusConnection::ExportAllSlots |
                                                QDBusConnection::ExportAllSignals |
                                                QDBusConnection::ExportAllProperties);
            },
            Qt::BlockingQueuedConnection, &exported);
        return exported && m_bus.registerService(service());
    }
    void disappear() {
        m_bus.unregisterService(service());
        QMetaObject::invokeMethod(
            m_object, [this] { m_bus.unregisterObject(path()); }, Qt::BlockingQueuedConnection);
    }
    // The panel comes up behind a watcher that was already there. `announce` false: the
    // property changes without the signal, as after a missed one.
    void registerHost(bool announce = true) {
        m_object->host = true;
        if (announce)
            QMetaObject::invokeMethod(
                m_object, [this] { Q_EMIT m_object->StatusNotifierHostRegistered(); },
                Qt::BlockingQueuedConnection);
    }
    // The items registered so far (StatusNotifierItem bus names), and who registered them.
    QStringList items() const { return m_object->items(); }
    QStringList callers() const { return m_object->callers(); }

    static QString service() { return QStringLiteral("org.kde.StatusNotifierWatcher"); }
    static QString path() { return QStringLiteral("/StatusNotifierWatcher"); }

private:
    QDBusConnection m_bus;
    QThread m_thread;
    WatcherObject* m_object = new WatcherObject;
};

} // namespace quillo::apptest
