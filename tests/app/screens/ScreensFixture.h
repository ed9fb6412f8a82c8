// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SteppedAnimations.h"
#include "client/TranslateFixture.h"
#include "models/AppController.h"
#include "screens/AppContext.h"
#include "server/ServerTestSupport.h"
#include "shell/ScreenEngine.h"
#include "support/ManualClock.h"

#include <QDir>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <memory>

namespace quillo::screentest {

// The whole desktop application in the test process, headless: the controller on a manual
// clock, its screens loaded from their QML modules, a real service in-process with a scripted
// model, and the translate endpoints played on loopback. Every QML warning fails the test.
class ScreensTest : public server::apitest::ApiTest {
protected:
    QTemporaryDir support;
    ManualClock appClock;
    translatetest::TranslateFixture translate;
    SteppedAnimations animations;
    std::unique_ptr<AppController> controller;
    std::unique_ptr<AppContext> context;
    std::unique_ptr<ScreenEngine> screens;
    QStringList messages;

    void SetUp() override;
    void TearDown() override;

    // A set-up user practising Japanese (reading on), Russian and Spanish, one contact each
    // with a short conversation; signed in unless asked otherwise.
    static StoredState seededDocument();
    void seed(const StoredState& state, bool signedIn = true);
    // Builds and starts the application over what is seeded, and waits for its first frame.
    void launch(AppContext::Desktop desktop = {});

    QQuickWindow* window() const { return screens->mainWindow(); }
    QQuickItem* item(const QString& objectName) const;
    // Items with that object name, in tree order.
    QList<QQuickItem*> items(const QString& objectName) const;
    // Turns the event loop (and the manual clock by `step` each turn, the animations by a
    // frame) until `done` holds, at most `turns` times; whether it came true.
    bool spinUntil(const std::function<bool()>& done, int turns = 2500, qint64 step = 0);
    // Lets the animations run to their end, then saves the window to <build>/screens/NAME.png,
    // for review.
    void grab(const QString& name, QQuickWindow* window = nullptr);
    QStringList warnings() const;

    // What an item shows as its text; empty without the item.
    static QString textOf(QQuickItem* item);
    // The on-screen centre of an item, in its window's coordinates.
    static QPoint centreOf(QQuickItem* item);
    // Types plain ASCII text into the focused item, key by key.
    static void typeInto(QWindow* window, const QString& text);
    // The word of a contact's message laid out on screen that reads `text`.
    QQuickItem* wordItem(const QString& text) const;
    // Message bubbles laid out now.
    int bubbles() const;

    static const QString japaneseId;
    static const QString russianId;
    static const QString spanishId;
};

} // namespace quillo::screentest
