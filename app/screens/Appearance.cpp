// SPDX-License-Identifier: Apache-2.0
#include "Appearance.h"

#include "repository/ChatRepository.h"

#include <QEvent>
#include <QFont>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace quillo {

Appearance::Appearance(ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    connect(&repository, &ChatRepository::stateChanged, this, &Appearance::update);
    update();
    // The application's font is the desktop's until someone sets another; both changes arrive
    // as the same event.
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        QCoreApplication::instance()->installEventFilter(this);
        updateScale();
    }
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QCoreApplication::instance() && event->type() == QEvent::ApplicationFontChange)
        updateScale();
    return QObject::eventFilter(watched, event);
}

void Appearance::updateScale() {
    constexpr double designedPixels = 13.0;
    const QFont font = QGuiApplication::font();
    double pixels = font.pixelSize();
    if (pixels <= 0) {
        const QScreen* screen = QGuiApplication::primaryScreen();
        const double dpi = screen ? screen->logicalDotsPerInch() : 96.0;
        pixels = font.pointSizeF() * dpi / 72.0;
    }
    // Quarter steps of a pixel keep sizes steady against rounding; a broken font size leaves
    // the interface as drawn.
    double scale = pixels > 0 ? std::round(pixels * 4.0) / 4.0 / designedPixels : 1.0;
    scale = std::clamp(scale, 0.75, 4.0);
    if (scale == m_scale)
        return;
    m_scale = scale;
    Q_EMIT scaleChanged();
}

namespace {

double luminance(const QColor& colour) {
    const auto channel = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) +
           0.0722 * channel(colour.blueF());
}

} // namespace

double Appearance::contrast(const QColor& a, const QColor& b) {
    const double la = luminance(a);
    const double lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor Appearance::initialsColor(const QColor& accent) {
    const QColor light(0xFF, 0xFF, 0xFF);
    const QColor dark(0x1C, 0x1D, 0x1F);
    return contrast(light, accent) >= contrast(dark, accent) ? light : dark;
}

void Appearance::setDesktopScheme(uint scheme) {
    m_desktopScheme = scheme;
    update();
}

void Appearance::update() {
    bool dark = false;
    switch (m_repository.state().theme) {
    case ThemeChoice::Dark:
        dark = true;
        break;
    case ThemeChoice::Light:
        break;
    case ThemeChoice::System:
        dark = m_desktopScheme == 1;
        break;
    }
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
}

} // namespace quillo
