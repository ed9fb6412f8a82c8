// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Cancellation.h"
#include "common/Clock.h"
#include "common/Lifetime.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class QDBusServiceWatcher;
struct xcb_connection_t;

namespace quillo {

// Looks for a tray to put Quillo's icon in, for a while after start: at login the panel that
// shows tray icons often starts after the autostart entries do. It asks the desktop itself,
// never Qt: Qt decides once per process whether the D-Bus tray exists, so asking Qt before the
// panel is up would keep the icon out of it for good. Two trays count: a StatusNotifierWatcher
// on the session bus with a host registered (KDE, GNOME's AppIndicator extension, most panels)
// and, on X11, the owner of the older XEmbed tray's selection. It looks again every second, at
// once when the watcher appears or tells of a new host, and gives up after `limitMillis`.
class TrayWatch : public QObject {
    Q_OBJECT

public:
    // Long enough for a slow login (a cold disk on a loaded machine can keep the panel away
    // for half a minute after the autostart entries run), short enough that a desktop with no
    // tray at all shows the window within the minute, before the user decides Quillo failed.
    static constexpr qint64 limitMillis = 45'000;
    static constexpr qint64 intervalMillis = 1'000;

    struct Places {
        // The session bus, where the D-Bus tray's watcher lives.
        std::optional<QDBusConnection> bus;
        // The X server whose XEmbed tray counts (empty: $DISPLAY); none off X11.
        std::optional<QString> x11Display;
    };

    enum class Result { Watching, Found, None };

    // `clock` must outlive the watch.
    TrayWatch(const Clock& clock, Places places, QObject* parent = nullptr);
    ~TrayWatch() override;

    // Starts looking; found() or none() follows once. A receiver must not delete the watch.
    void start();
    Result result() const { return m_result; }

Q_SIGNALS:
    void found();
    // No tray within the limit.
    void none();

private Q_SLOTS:
    void probe();

private:
    QCoro::Task<> watch(CancelToken stop, Lifetime::Watch alive);
    void askWatcher();
    void openX11(const QString& display);
    bool x11TrayOwned() const;
    void settle(Result result);
    // Lets go of the bus and the X server: nothing more to hear from them.
    void stopListening();

    const Clock& m_clock;
    std::optional<QDBusConnection> m_bus;
    std::unique_ptr<QDBusServiceWatcher> m_appearing;
    xcb_connection_t* m_x11 = nullptr;
    unsigned int m_trayAtom = 0;
    Result m_result = Result::Watching;
    bool m_started = false;
    CancelToken m_stop;
    Lifetime m_lifetime;
};

} // namespace quillo
