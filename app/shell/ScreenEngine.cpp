#include "ScreenEngine.h"

#include "shell/QmlModules.h"
#include "screens/AppContext.h"

#include <QQuickWindow>

namespace quillo {

ScreenEngine::ScreenEngine(AppContext& context) {
    importQuilloQmlModules();
    AppContext::setCurrent(&context);
    m_engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QObject::connect(&m_engine, &QQmlEngine::warnings, &m_engine,
                     [this](const QList<QQmlError>& warnings) {
                         for (const QQmlError& warning : warnings)
                             m_warnings.append(warning.toString());
                     });
}

ScreenEngine::~ScreenEngine() = default;

bool ScreenEngine::loadMainWindow() {
    m_engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillo/Shell/MainWindow.qml")));
    return mainWindow() != nullptr;
}

QQuickWindow* ScreenEngine::mainWindow() const {
    const QList<QObject*> roots = m_engine.rootObjects();
    return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
}

} // namespace quillo
