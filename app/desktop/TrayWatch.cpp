// SPDX-License-Identifier: Apache-2.0
#include "TrayWatch.h"

#include "DesktopLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QLoggingCategory>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

namespace quillo {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString watcherInterface = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString hostRegistered = QStringLiteral("StatusNotifierHostRegistered");

} // namespace

TrayWatch::TrayWatch(const Clock& clock, Places places, QObject* parent)
    : QObject(parent)
    , m_clock(clock) {
    if (places.bus && places.bus->isConnected())
        m_bus = std::move(places.bus);
    if (places.x11Display)
        openX11(*places.x11Display);
}

TrayWatch::~TrayWatch() {
    m_lifetime.end();
    m_stop.cancel();
    stopListening();
}

void TrayWatch::openX11(const QString& display) {
    if (display.isEmpty() && !std::getenv("DISPLAY"))
        return;
    const QByteArray name = display.toLocal8Bit();
    int screen = 0;
    m_x11 = xcb_connect(display.isEmpty() ? nullptr : name.constData(), &screen);
    if (xcb_connection_has_error(m_x11)) {
        xcb_disconnect(m_x11);
        m_x11 = nullptr;
        return;
    }
    // The tray of the screen Qt puts the icon on: the display's default one.
    const QByteArray selection =
        QByteArrayLiteral("_NET_SYSTEM_TRAY_S") + QByteArray::number(screen);
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
        m_x11, xcb_intern_atom(m_x11, 0, uint16_t(selection.size()), selection.constData()),
        nullptr);
    m_trayAtom = atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(atom);
}

void TrayWatch::start() {
    if (m_started)
        return;
    m_started = true;
    if (m_bus) {
        m_appearing = std::make_unique<QDBusServiceWatcher>(
            watcherService, *m_bus, QDBusServiceWatcher::WatchForRegistration);
        connect(m_appearing.get(), &QDBusServiceWatcher::serviceRegistered, this,
                &TrayWatch::probe);
        // From any sender: it only makes us ask the watcher again.
        m_bus->connect(QString(), watcherPath, watcherInterface, hostRegistered, this,
                       SLOT(probe()));
    }
    watch(m_stop, m_lifetime.watch());
}

QCoro::Task<> TrayWatch::watch(CancelToken stop, Lifetime::Watch alive) {
    const qint64 deadline = m_clock.nowMillis() + limitMillis;
    while (true) {
        probe();
        // An X11 tray is found at once, and whoever heard of it may have deleted us.
        if (alive.ended() || m_result != Result::Watching)
            co_return;
        const qint64 left = deadline - m_clock.nowMillis();
        if (left <= 0) {
            settle(Result::None);
            co_return;
        }
        // A cancelled sleep returns false before anything here is touched again.
        auto waiting = m_clock.sleep(std::min(intervalMillis, left), stop);
        if (!co_await waiting)
            co_return;
    }
}

void TrayWatch::probe() {
    if (m_result != Result::Watching)
        return;
    askWatcher();
    if (x11TrayOwned())
        settle(Result::Found);
}

void TrayWatch::askWatcher() {
    if (!m_bus)
        return;
    // The question Qt asks when it makes the icon: a watcher alone, with no panel behind it
    // to show the items, is no tray.
    QDBusMessage get = QDBusMessage::createMethodCall(
        watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get << watcherInterface << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* call = new QDBusPendingCallWatcher(m_bus->asyncCall(get), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *done;
        if (!reply.isError() && reply.value().variant().toBool())
            settle(Result::Found);
    });
}

bool TrayWatch::x11TrayOwned() const {
    if (!m_x11 || m_trayAtom == XCB_ATOM_NONE)
        return false;
    xcb_get_selection_owner_reply_t* owner =
        xcb_get_selection_owner_reply(m_x11, xcb_get_selection_owner(m_x11, m_trayAtom), nullptr);
    const bool owned = owner && owner->owner != XCB_WINDOW_NONE;
    std::free(owner);
    return owned;
}

void TrayWatch::settle(Result result) {
    if (m_result != Result::Watching)
        return;
    m_result = result;
    m_stop.cancel();
    stopListening();
    if (result == Result::Found) {
        qCInfo(lcTray) << "a tray is there";
        Q_EMIT found();
    } else {
        qCInfo(lcTray) << "no tray after" << limitMillis / 1000 << "seconds";
        Q_EMIT none();
    }
}

void TrayWatch::stopListening() {
    if (m_appearing) {
        m_appearing.reset();
        m_bus->disconnect(QString(), watcherPath, watcherInterface, hostRegistered, this,
                          SLOT(probe()));
    }
    if (m_x11) {
        xcb_disconnect(m_x11);
        m_x11 = nullptr;
    }
}

} // namespace quillo
