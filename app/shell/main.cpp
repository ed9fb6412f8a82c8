#include "shell/DesktopApp.h"

#include <QGuiApplication>

int main(int argc, char* argv[]) {
    QGuiApplication application(argc, argv);
    quillo::DesktopApp app(application.arguments());
    if (!app.start())
        return 1;
    return QGuiApplication::exec();
}
