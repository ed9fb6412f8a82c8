// SPDX-License-Identifier: Apache-2.0
#include "ScreenEngine.h"

#include "screens/AppContext.h"
#include "shell/QmlModules.h"

#include <QQuickStyle>
#include <QQuickWindow>

namespace quillo {

ScreenEngine::ScreenEngine(AppContext& context) {
    importQuilloQmlModules();
    // One look everywhere, drawn from the palette the theme sets, whatever the desktop's own
    // Qt style is; it needs no shaders, so it draws the same in software.
    // (A style is set once per process, before the first screen loads.)
    static const bool styled = [] {
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
        return true;
    }();
    Q_UNUSED(styled);
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
