// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

#include <QQmlProperty>
#include <QSignalSpy>
#include <QTest>

using namespace quillo;
using namespace quillo::screentest;

namespace {

using WindowClosingScreenTest = ScreensTest;

// Clicks the switch of a settings row, at the row's right end.
void clickSwitchOf(QQuickItem* row) {
    const QPoint at = row->mapToScene(QPointF(row->width() - 16, row->height() / 2)).toPoint();
    QTest::mouseClick(row->window(), Qt::LeftButton, {}, at);
}

TEST_F(WindowClosingScreenTest, TheSettingsSwitchIsOnAtFirstAndTurnsOffThisDevicesPreference) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("keepRunning")) != nullptr; }));
    QQuickItem* row = item(QStringLiteral("keepRunning"));
    EXPECT_EQ(QQmlProperty::read(row, QStringLiteral("title")).toString(),
              u"Keep Quillo running when the window is closed");
    EXPECT_TRUE(QQmlProperty::read(row, QStringLiteral("checked")).toBool());

    // Scrolled to the end, where the switch sits under opening at login.
    auto* flickable =
        item(QStringLiteral("settingsScroll"))->property("contentItem").value<QQuickItem*>();
    ASSERT_NE(flickable, nullptr);
    QQmlProperty::write(flickable, QStringLiteral("contentY"),
                        flickable->property("contentHeight").toReal() - flickable->height());
    grab(QStringLiteral("settings-keep-running"));

    clickSwitchOf(row);
    ASSERT_TRUE(spinUntil([this] { return !context->settings()->keepRunningWhenClosed(); }));
    EXPECT_FALSE(controller->repository().state().keepRunningWhenClosed);
    EXPECT_FALSE(QQmlProperty::read(row, QStringLiteral("checked")).toBool());
    EXPECT_TRUE(controller->repository().state().forAccount().keepRunningWhenClosed)
        << "a preference of this device, never uploaded";
    grab(QStringLiteral("settings-keep-running-off"));

    clickSwitchOf(row);
    ASSERT_TRUE(spinUntil([this] { return context->settings()->keepRunningWhenClosed(); }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(WindowClosingScreenTest, TheWindowsMenuQuitsQuillo) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    QQuickItem* button = item(QStringLiteral("menuButton"));
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(window(), Qt::LeftButton, {}, centreOf(button));
    ASSERT_TRUE(spinUntil([this] {
        QQuickItem* quit = item(QStringLiteral("quitItem"));
        return quit && quit->isVisible() && quit->height() > 0;
    }));
    QQuickItem* quit = item(QStringLiteral("quitItem"));
    EXPECT_EQ(textOf(quit), u"Quit Quillo");
    grab(QStringLiteral("window-menu"));

    // The engine's quit ends the application; here it only has to be asked for.
    QObject::disconnect(&screens->engine(), &QQmlEngine::quit, nullptr, nullptr);
    QSignalSpy asked(&screens->engine(), &QQmlEngine::quit);
    QTest::mouseClick(window(), Qt::LeftButton, {}, centreOf(quit));
    EXPECT_TRUE(spinUntil([&asked] { return asked.count() == 1; }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
