// SPDX-License-Identifier: Apache-2.0
#include "desktop/WindowPlacement.h"
#include "EventsUntil.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QTemporaryDir>
#include <QWindow>

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::eventsUntil;

namespace {

class WindowPlacementTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString file() const { return dir.filePath(QStringLiteral("config/window.ini")); }
    QRect screen() const { return QGuiApplication::primaryScreen()->availableGeometry(); }
};

TEST_F(WindowPlacementTest, AWindowComesBackWhereItWasLeft) {
    const QRect place(screen().topLeft() + QPoint(20, 30), QSize(400, 300));
    {
        WindowPlacement placement(file());
        QWindow window;
        window.setMinimumSize({200, 150});
        placement.follow(window);
        window.show();
        window.setGeometry(place);
        ASSERT_TRUE(eventsUntil([&] { return window.geometry() == place; }));
        // The desktop's word on the move arrives as an event of its own.
        QCoreApplication::processEvents();
        window.hide();
    }
    const WindowPlacement next(file());
    EXPECT_EQ(next.kept(), place);
    QWindow window;
    ASSERT_TRUE(next.restore(window));
    EXPECT_EQ(window.geometry(), place);
}

TEST_F(WindowPlacementTest, APlaceThatFitsOnNoScreenNowIsLeftToTheDesktop) {
    const WindowPlacement placement(file());
    QWindow window;
    window.resize(500, 400);
    EXPECT_FALSE(placement.restore(window)) << "nothing kept yet";

    // A monitor that stood to the right is gone.
    placement.keep(QRect(screen().right() + 100, screen().top(), 400, 300));
    EXPECT_FALSE(placement.restore(window));
    // Larger than any screen there is.
    placement.keep(QRect(screen().topLeft(), screen().size() + QSize(1, 1)));
    EXPECT_FALSE(placement.restore(window));
    EXPECT_EQ(window.size(), QSize(500, 400));
    EXPECT_TRUE(WindowPlacement::fitsOnAScreen(screen(), QGuiApplication::screens()));
}

} // namespace
