// SPDX-License-Identifier: Apache-2.0
#include "WindowPlacement.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QWindow>

namespace quillo {

namespace {

const QString geometryKey = QStringLiteral("window/geometry");

} // namespace

WindowPlacement::WindowPlacement()
    : WindowPlacement(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
                      QStringLiteral("/window.ini")) {}

WindowPlacement::WindowPlacement(QString file)
    : m_file(std::move(file)) {}

std::optional<QRect> WindowPlacement::kept() const {
    const QSettings settings(m_file, QSettings::IniFormat);
    const QRect geometry = settings.value(geometryKey).toRect();
    if (!geometry.isValid() || geometry.isEmpty())
        return std::nullopt;
    return geometry;
}

void WindowPlacement::keep(const QRect& geometry) const {
    QDir().mkpath(QFileInfo(m_file).absolutePath());
    QSettings settings(m_file, QSettings::IniFormat);
    settings.setValue(geometryKey, geometry);
    settings.sync();
}

bool WindowPlacement::fitsOnAScreen(const QRect& geometry, const QList<QScreen*>& screens) {
    for (const QScreen* screen : screens) {
        if (screen->availableGeometry().contains(geometry))
            return true;
    }
    return false;
}

bool WindowPlacement::restore(QWindow& window) const {
    const std::optional<QRect> geometry = kept();
    if (!geometry || !fitsOnAScreen(*geometry, QGuiApplication::screens()))
        return false;
    // Never smaller than the window allows.
    const QSize size = geometry->size().expandedTo(window.minimumSize());
    window.setGeometry(QRect(geometry->topLeft(), size));
    return true;
}

void WindowPlacement::follow(QWindow& window) {
    restore(window);
    const auto moved = [this, &window] { remember(window); };
    QObject::connect(&window, &QWindow::xChanged, &window, moved);
    QObject::connect(&window, &QWindow::yChanged, &window, moved);
    QObject::connect(&window, &QWindow::widthChanged, &window, moved);
    QObject::connect(&window, &QWindow::heightChanged, &window, moved);
    QObject::connect(&window, &QWindow::visibilityChanged, &window, moved);
    QObject::connect(&window, &QWindow::visibleChanged, &window, [this](bool visible) {
        if (!visible)
            write();
    });
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &window, [this] { write(); });
}

void WindowPlacement::remember(const QWindow& window) {
    if (window.isVisible() && window.visibility() == QWindow::Windowed)
        m_last = window.geometry();
}

void WindowPlacement::write() const {
    if (m_last && m_last != kept())
        keep(*m_last);
}

} // namespace quillo
