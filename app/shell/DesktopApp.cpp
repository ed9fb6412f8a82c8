#include "DesktopApp.h"

#include "desktop/LoginItem.h"
#include "store/AppIdentity.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

namespace quillo {

DesktopApp::DesktopApp(const QStringList& arguments)
    : m_arguments(arguments)
    , m_controller(m_clock)
    , m_context(m_controller, [](const QUrl& url) { return QDesktopServices::openUrl(url); })
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
    // A sign-in callback the desktop handed over on the command line.
    for (const QString& argument : m_arguments.mid(1)) {
        const QUrl url(argument);
        if (url.isValid() && !url.scheme().isEmpty())
            m_context.handleUrl(url);
    }
    m_controller.start(
        m_context, LoginItem::isLoginLaunch(m_arguments, qEnvironmentVariable("XPC_SERVICE_NAME")));
    return true;
}

} // namespace quillo
