// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRect>
#include <QString>

#include <optional>

class QScreen;
class QWindow;

namespace quillo {

// Where the main window stood and how large it was, kept across launches in a small file of the
// application's configuration. A place is given back only where it fits on a screen that is
// there now: a monitor unplugged since, or a smaller one, leaves the window where the desktop
// puts it.
class WindowPlacement {
public:
    // The file in the application's configuration folder.
    WindowPlacement();
    explicit WindowPlacement(QString file);

    // The window's frame-less place, as last kept; nothing when none was kept or it is unusable.
    std::optional<QRect> kept() const;
    void keep(const QRect& geometry) const;

    // Moves and sizes `window` to the kept place when that fits on a present screen.
    bool restore(QWindow& window) const;
    // Restores `window`, then follows where the user puts it: the last place it had while on
    // screen and neither minimised, maximised nor full screen is kept when it is hidden or the
    // application quits. The placement must outlive the window.
    void follow(QWindow& window);

    // Whether `geometry` lies wholly inside the available area of one of the screens.
    static bool fitsOnAScreen(const QRect& geometry, const QList<QScreen*>& screens);

private:
    void remember(const QWindow& window);
    void write() const;

    QString m_file;
    std::optional<QRect> m_last;
};

} // namespace quillo
