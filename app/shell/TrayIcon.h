// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace quillo {

// Quillo in the tray: the icon with the unread count drawn on it and in its tooltip, and the
// menu "Open Quillo", "Settings…", "Quit Quillo". Made only once TrayWatch has found a tray:
// Qt settles which tray the process uses when the first icon is made.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    TrayIcon(std::function<void()> onOpen, std::function<void()> onOpenSettings,
             std::function<void()> onQuit, QObject* parent = nullptr);
    ~TrayIcon() override;

    void setUnread(int count);

    // What stands beside the icon for a count: nothing below 1, else a space and the number.
    static QString unreadTitle(int count);
    // The application's icon at `size` pixels with a badge for `count` (none below 1).
    static QImage badged(int size, int count);

private:
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace quillo
