#include "DesktopApp.h"

#include "desktop/LoginItem.h"
#include "store/AppIdentity.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QPainter>
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
    painter.setBrush(QColor(payload.accent.isEmpty() ? QStringLiteral("#5BB6FF") : payload.accent));
    painter.drawEllipse(0, 0, size, size);
    QFont font = painter.font();
    font.setPixelSize(size * 38 / 100);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Qt::white);
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

} // namespace

DesktopApp::DesktopApp(const QStringList& arguments)
    : m_arguments(arguments)
    , m_controller(m_clock)
    , m_context(m_controller, desktopSession())
    , m_screens(m_context) {
    QGuiApplication::setApplicationName(AppIdentity::displayName());
    QGuiApplication::setApplicationDisplayName(AppIdentity::displayName());
    QGuiApplication::setDesktopFileName(AppIdentity::bundleIdentifier());
}

DesktopApp::~DesktopApp() {
    m_controller.stop();
}

bool DesktopApp::start() {
    if (!m_screens.loadMainWindow())
        return false;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, qApp, [this] { m_controller.stop(); });
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, qApp,
                     [this](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive)
                             m_controller.didBecomeActive();
                     });
    // In the tray where the desktop has one: closing the window then leaves Quillo running, so
    // replies and notifications still arrive. Without a tray, closing the window quits.
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) && TrayIcon::available()) {
        m_tray =
            std::make_unique<TrayIcon>([this] { open(); }, [this] { m_controller.openSettings(); },
                                       [] { QCoreApplication::quit(); });
        QObject::connect(&m_context, &AppContext::unreadChanged, m_tray.get(),
                         [this] { m_tray->setUnread(m_context.unread()); });
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }
    // Control-shift-space: a key grab on an X11 desktop (it needs the X server as the display).
    if (QGuiApplication::platformName() == QStringLiteral("xcb")) {
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
    // A sign-in callback the desktop handed over on the command line.
    takeUrls(m_arguments.mid(1));
    return true;
}

void DesktopApp::open() {
    m_controller.model().focusMostRelevantChat();
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
