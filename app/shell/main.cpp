// SPDX-License-Identifier: Apache-2.0
#include "desktop/SingleInstance.h"
#include "shell/DesktopApp.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    // Widgets only for the tray's menu; the window itself is Qt Quick.
    QApplication application(argc, argv);

    // One Quillo per session: a later start (a sign-in callback, `quillo --open` bound to a
    // key) hands over its arguments and ends.
    quillo::SingleInstance instance;
    QStringList handed = QApplication::arguments().mid(1);
    if (handed.isEmpty())
        handed = {QStringLiteral("--open")};
    if (instance.forwardToRunning(handed))
        return 0;

    quillo::DesktopApp app(QApplication::arguments());
    if (!app.start())
        return 1;
    QObject::connect(&instance, &quillo::SingleInstance::argumentsReceived, &application,
                     [&app](const QStringList& arguments) { app.handleArguments(arguments); });
    // Without the socket a later start cannot find this one; this one runs all the same.
    instance.listen();
    return QApplication::exec();
}
