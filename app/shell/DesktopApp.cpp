#include "DesktopApp.h"

#include "desktop/LoginItem.h"
#include "store/AppIdentity.h"

#include <QGuiApplication>

namespace quillo {

DesktopApp::DesktopApp(const QStringList& arguments)
    : m_arguments(arguments)
    , m_controller(m_clock)
    , m_context(m_controller)
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
    m_controller.start(
        m_context, LoginItem::isLoginLaunch(m_arguments, qEnvironmentVariable("XPC_SERVICE_NAME")));
    return true;
}

} // namespace quillo
