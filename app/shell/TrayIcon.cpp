// SPDX-License-Identifier: Apache-2.0
#include "TrayIcon.h"

#include "store/AppIdentity.h"

#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>

namespace quillo {

namespace {

QIcon iconFor(int count) {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(QPixmap::fromImage(TrayIcon::badged(size, count)));
    return icon;
}

} // namespace

TrayIcon::TrayIcon(std::function<void()> onOpen, std::function<void()> onOpenSettings,
                   std::function<void()> onQuit, QObject* parent)
    : QObject(parent)
    , m_menu(std::make_unique<QMenu>())
    , m_icon(std::make_unique<QSystemTrayIcon>()) {
    const QString name = AppIdentity::displayName();
    m_menu->addAction(QStringLiteral("Open ") + name, this, onOpen);
    m_menu->addAction(QStringLiteral("Settings…"), this, onOpenSettings);
    m_menu->addSeparator();
    QAction* quit = m_menu->addAction(QStringLiteral("Quit ") + name, this, onQuit);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    m_icon->setContextMenu(m_menu.get());
    // A click on the icon itself opens, as "Open Quillo" does.
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [onOpen](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    onOpen();
            });
    setUnread(0);
    m_icon->show();
}

TrayIcon::~TrayIcon() = default;

QString TrayIcon::unreadTitle(int count) {
    return count < 1 ? QString() : u' ' + QString::number(count);
}

void TrayIcon::setUnread(int count) {
    m_icon->setIcon(iconFor(count));
    const QString title = unreadTitle(count);
    m_icon->setToolTip(title.isEmpty() ? AppIdentity::displayName()
                                       : AppIdentity::displayName() + QStringLiteral(" —") + title +
                                             QStringLiteral(" unread"));
}

QImage TrayIcon::badged(int size, int count) {
    QImage image = QIcon(QStringLiteral(":/icons/app.quillo.mac.svg"))
                       .pixmap(size, size)
                       .toImage()
                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        image = QImage(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor(0x3B, 0x82, 0xC4));
    }
    if (count < 1)
        return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
    const int badge = std::max(8, size * 3 / 5);
    const QRect area(size - badge, 0, badge, badge);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xE5, 0x48, 0x4D));
    painter.drawEllipse(area);
    QFont font = painter.font();
    font.setPixelSize(std::max(6, badge * (text.size() > 1 ? 45 : 65) / 100));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(area, Qt::AlignCenter, text);
    return image;
}

} // namespace quillo
