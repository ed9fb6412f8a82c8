// SPDX-License-Identifier: Apache-2.0
#include "DesktopApp.h"

#include "desktop/LoginItem.h"
#include "screens/Appearance.h"
#include "store/AppIdentity.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickWindow>
#include <QUrl>

namespace quillo {

namespace {

// A contact's avatar for a desktop notification: its initials on its colour.
QImage paintAvatar(const NotificationPayload& payload) {
    constexpr int size = 96;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QColor accent(payload.accent.isEmpty() ? QStringLiteral("#5BB6FF") : payload.accent);
    painter.setBrush(accent);
    painter.drawEllipse(0, 0, size, size);
    QFont font = painter.font();
    font.setPixelSize(size * 38 / 100);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Appearance::initialsColor(accent));
    painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter, payload.initials);
    return image;
}

AppContext::Desktop desktopSession() {
    AppContext::Desktop desktop;
    desktop.openBrowser = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
    if (QDBusConnection bus = QDBusConnection::sessionBus(); bus.isConnected())
        desktop.bus = bus;
    desktop.avatar = paintAvatar;
    return desktop;
}

const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

} // namespace

DesktopApp::DesktopApp(const QStringList& arguments)
    : DesktopApp(arguments, systemClock()) {}

DesktopApp::DesktopApp(const QStringList& arguments, const Clock& clock)
    : m_clock(clock)
    , m_arguments(arguments)
    , m_controller(m_clock)
    , m_context(m_controller, desktopSession())
    , m_screens(m_context) {
    // No display name of the application's own: the desktop would add it to every window
    // title, and the window's title already says "Quillo".
    QGuiApplication::setApplicationName(AppIdentity::displayName());
    QGuiApplication::setDesktopFileName(AppIdentity::bundleIdentifier());
}

DesktopApp::~DesktopApp() {
    m_controller.stop();
}

bool DesktopApp::start() {
    if (!m_screens.loadMainWindow())
        return false;
    m_placement.follow(*m_screens.mainWindow());
    // Tied to the controller: a later application in the same process must not reach this one.
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &m_controller,
                     [this] { m_controller.stop(); });
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &m_controller,
                     [this](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive)
                             m_controller.didBecomeActive();
                     });
    // Control-shift-space: a key grab on an X11 desktop (it needs the X server as the display).
    const bool x11 = QGuiApplication::platformName() == QStringLiteral("xcb");
    if (x11) {
        m_hotKey = std::make_unique<GlobalHotKey>();
        QObject::connect(m_hotKey.get(), &GlobalHotKey::pressed, m_hotKey.get(),
                         [this] { open(); });
    } else if (QDBusConnection bus = QDBusConnection::sessionBus(); bus.isConnected()) {
        // Elsewhere (Wayland) the desktop's shortcuts portal binds it, where there is one.
        m_portalHotKey = std::make_unique<PortalHotKey>(bus);
        QObject::connect(m_portalHotKey.get(), &PortalHotKey::pressed, m_portalHotKey.get(),
                         [this] { open(); });
    }
    m_controller.start(
        m_context, LoginItem::isLoginLaunch(m_arguments, qEnvironmentVariable("XPC_SERVICE_NAME")));
    // Closing the window leaves Quillo running, so that replies and contacts who write first
    // still reach the user: always once it has a tray icon, else unless the user turned that
    // off in the settings. The wiring is tied to the portal, which goes before the tray and the
    // window do: the window closing on the way out is not going to the background.
    m_background = std::make_unique<BackgroundPortal>(QDBusConnection::sessionBus());
    followClosing();
    QObject::connect(&m_controller.repository(), &ChatRepository::stateChanged, m_background.get(),
                     [this] { followClosing(); });
    QObject::connect(m_screens.mainWindow(), &QWindow::visibleChanged, m_background.get(),
                     [this](bool visible) {
                         if (!visible)
                             wentToBackground();
                     });
    // A quiet login start that finds no tray in time opens the window rather than run unseen.
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) {
        TrayWatch::Places places;
        if (QDBusConnection bus = QDBusConnection::sessionBus(); bus.isConnected())
            places.bus = bus;
        if (x11)
            places.x11Display = QString();
        m_trayWatch = std::make_unique<TrayWatch>(m_clock, places);
        QObject::connect(m_trayWatch.get(), &TrayWatch::found, m_trayWatch.get(),
                         [this] { showInTray(); });
        QObject::connect(m_trayWatch.get(), &TrayWatch::none, m_trayWatch.get(),
                         [this] { showWindowIfHidden(); });
        m_trayWatch->start();
    } else {
        // The tray's menu needs widgets; without them there is never an icon.
        showWindowIfHidden();
    }
    // A sign-in callback the desktop handed over on the command line.
    takeUrls(m_arguments.mid(1));
    return true;
}

void DesktopApp::showInTray() {
    m_tray = std::make_unique<TrayIcon>([this] { open(); }, [this] { m_controller.openSettings(); },
                                        [] { QCoreApplication::quit(); });
    m_tray->setUnread(m_context.unread());
    QObject::connect(&m_context, &AppContext::unreadChanged, m_tray.get(),
                     [this] { m_tray->setUnread(m_context.unread()); });
    followClosing();
}

bool DesktopApp::keepsRunningWhenClosed() {
    return m_tray || m_controller.repository().state().keepRunningWhenClosed;
}

void DesktopApp::followClosing() {
    QGuiApplication::setQuitOnLastWindowClosed(!keepsRunningWhenClosed());
}

void DesktopApp::wentToBackground() {
    if (m_tray || !keepsRunningWhenClosed())
        return;
    m_background->request(QStringLiteral("Quillo keeps running with its window closed, so that "
                                         "replies and contacts who write first reach you."));
}

void DesktopApp::showWindowIfHidden() {
    const QQuickWindow* window = m_screens.mainWindow();
    if (window && !window->isVisible())
        m_context.showMainWindow();
}

void DesktopApp::open() {
    m_controller.navigation().focusMostRelevantChat();
    m_context.showMainWindow();
}

void DesktopApp::handleArguments(const QStringList& arguments) {
    if (arguments.contains(QStringLiteral("--open")))
        open();
    if (takeUrls(arguments))
        m_context.showMainWindow();
}

bool DesktopApp::takeUrls(const QStringList& arguments) {
    bool taken = false;
    for (const QString& argument : arguments) {
        const QUrl url(argument);
        if (!argument.startsWith(u'-') && url.isValid() && !url.scheme().isEmpty())
            taken = m_context.handleUrl(url) || taken;
    }
    return taken;
}

} // namespace quillo
