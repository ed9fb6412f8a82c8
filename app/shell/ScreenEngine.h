// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QQmlApplicationEngine>

class QQuickWindow;

namespace quillo {

class AppContext;

// The QML engine with Quillo's modules, loading the main window over an application context.
// Warnings of the screens are collected, so that tests can insist on none.
class ScreenEngine {
public:
    explicit ScreenEngine(AppContext& context);
    ~ScreenEngine();

    // Loads the main window (hidden until the controller asks for it); false when it failed.
    bool loadMainWindow();
    QQuickWindow* mainWindow() const;
    QQmlApplicationEngine& engine() { return m_engine; }

    // Every QML warning so far.
    const QStringList& warnings() const { return m_warnings; }

private:
    QQmlApplicationEngine m_engine;
    QStringList m_warnings;
};

} // namespace quillo
