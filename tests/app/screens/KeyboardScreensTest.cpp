// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

#include <QQuickWindow>
#include <QTest>
#include <QWheelEvent>

using namespace quillo;
using namespace quillo::screentest;

namespace {

// A person with only a keyboard: every step here is a key press, and the test looks where the
// focus went after it.
class KeyboardScreensTest : public ScreensTest {
protected:
    QQuickItem* focused() const { return window()->activeFocusItem(); }

    // Whether the focus is in the item of that name (the item itself or something inside it).
    bool focusIn(const QString& objectName) const {
        QQuickItem* scope = item(objectName);
        QQuickItem* now = focused();
        return scope && now && (scope == now || scope->isAncestorOf(now));
    }

    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(window(), Qt::Key(key), modifiers);
        spinUntil([] { return false; }, 3);
    }

    // Tabs forward (or back) until the focus is in the item of that name; whether it got there.
    bool tabTo(const QString& objectName, bool forward = true, int most = 40) {
        for (int i = 0; i < most && !focusIn(objectName); ++i)
            press(forward ? Qt::Key_Tab : Qt::Key_Backtab,
                  forward ? Qt::NoModifier : Qt::ShiftModifier);
        return focusIn(objectName);
    }

    QString focusedName() const {
        for (QQuickItem* at = focused(); at; at = at->parentItem()) {
            if (!at->objectName().isEmpty())
                return at->objectName();
        }
        return QStringLiteral("(none)");
    }
};

TEST_F(KeyboardScreensTest, FromSignInToAnEditedContactWithTheKeyboardAlone) {
    seed(StoredState(), false);
    ASSERT_NO_FATAL_FAILURE(launch());

    // The caret waits in the access code field.
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("accessCode")); }))
        << focusedName().toStdString();
    typeInto(window(), invite(QStringLiteral("ana@example.com")));
    press(Qt::Key_Return);

    // Onboarding: the name field has the caret.
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("name")); }))
        << focusedName().toStdString();
    typeInto(window(), QStringLiteral("Ana"));
    ASSERT_TRUE(tabTo(QStringLiteral("practisedLanguage"))) << focusedName().toStdString();
    typeInto(window(), QStringLiteral("Spanish"));
    press(Qt::Key_Return);
    ASSERT_TRUE(tabTo(QStringLiteral("interests"))) << focusedName().toStdString();
    // A space typed here is a space in the field, never a press of a button.
    typeInto(window(), QStringLiteral("music, cooking"));
    EXPECT_EQ(textOf(item(QStringLiteral("interests"))), QStringLiteral("music, cooking"));
    EXPECT_FALSE(controller->repository().state().profile.setupCompleted);

    // The suggested interests are toggles on the way to the start button.
    ASSERT_TRUE(tabTo(QStringLiteral("interestChip")));
    ASSERT_TRUE(tabTo(QStringLiteral("startButton")));
    QQuickItem* start = item(QStringLiteral("startButton"));
    EXPECT_TRUE(start->property("visualFocus").toBool()) << "the focused button shows it";
    // Tabbing below the fold scrolls the form to the focused control.
    EXPECT_TRUE(spinUntil([&] {
        const QPointF at = start->mapToScene({0, 0});
        return at.y() >= 0 && at.y() + start->height() <= window()->height();
    }));
    grab(QStringLiteral("keyboard-onboarding-start-focused"));
    press(Qt::Key_Space);

    // The chats: the opened chat's composer has the caret.
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }))
        << focusedName().toStdString();
    EXPECT_EQ(controller->repository().state().profile.interests,
              (QStringList{QStringLiteral("music"), QStringLiteral("cooking")}));
    // Tab leaves the composer rather than typing a tab into it.
    press(Qt::Key_Tab);
    EXPECT_FALSE(focusIn(QStringLiteral("composerInput")));
    EXPECT_FALSE(textOf(item(QStringLiteral("composerInput"))).contains(u'\t'));

    // Ctrl+N: a new contact, its name field ready, Tab kept inside the sheet.
    press(Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("contactName")); }))
        << focusedName().toStdString();
    typeInto(window(), QStringLiteral("Pablo"));
    for (int i = 0; i < 30; ++i) {
        press(Qt::Key_Tab);
        ASSERT_TRUE(focusIn(QStringLiteral("contactEditor")))
            << "Tab " << i << " left the sheet for " << focusedName().toStdString();
    }
    grab(QStringLiteral("keyboard-new-contact"));
    press(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) == nullptr; }));
    const auto named = [this](const QString& name) {
        for (const BotProfile& bot : controller->repository().state().bots) {
            if (bot.displayName == name)
                return bot.id;
        }
        return QString();
    };
    ASSERT_FALSE(named(QStringLiteral("Pablo")).isEmpty());

    // Ctrl+K finds Pablo by part of his name and opens his chat.
    press(Qt::Key_K, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("quickFindField")); }));
    typeInto(window(), QStringLiteral("pab"));
    grab(QStringLiteral("keyboard-quick-find"));
    press(Qt::Key_Return);
    ASSERT_TRUE(spinUntil([&] {
        return controller->navigation().selectedBotId() == named(QStringLiteral("Pablo")) &&
               focusIn(QStringLiteral("composerInput"));
    })) << focusedName().toStdString();

    // Back from the composer to the header's Edit, and the contact edited and saved.
    ASSERT_TRUE(tabTo(QStringLiteral("editContactButton"), false)) << focusedName().toStdString();
    EXPECT_TRUE(item(QStringLiteral("editContactButton"))->property("visualFocus").toBool());
    press(Qt::Key_Space);
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("contactName")); }));
    press(Qt::Key_End);
    press(Qt::Key_Backspace);
    typeInto(window(), QStringLiteral("ito"));
    press(Qt::Key_S, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) == nullptr; }));
    EXPECT_FALSE(named(QStringLiteral("Pablito")).isEmpty());
    // The focus is back where it was before the sheet.
    EXPECT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("editContactButton")); }))
        << focusedName().toStdString();
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(KeyboardScreensTest, TheSettingsSheetTakesTheFocusAndEscGivesItBack) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }));

    press(Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("displayName")); }))
        << focusedName().toStdString();
    // Typing lands in the sheet, never in the composer behind it.
    typeInto(window(), QStringLiteral("x"));
    EXPECT_EQ(textOf(item(QStringLiteral("composerInput"))), QString());
    for (int i = 0; i < 60; ++i) {
        press(Qt::Key_Tab);
        ASSERT_TRUE(focusIn(QStringLiteral("settingsSheet")))
            << "Tab " << i << " left the sheet for " << focusedName().toStdString();
    }
    grab(QStringLiteral("keyboard-settings"));
    press(Qt::Key_Escape);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("settingsSheet")) == nullptr; }));
    EXPECT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }))
        << focusedName().toStdString();
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(KeyboardScreensTest, TheChatListIsWalkedWithArrowsAndChatsChangeFromAnywhere) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }));
    ChatListModel& chats = *context->chats();
    const QString first = controller->navigation().selectedBotId();
    const int row = chats.rowOf(first);

    // Ctrl+PageDown and Alt+Up move between chats without leaving the composer.
    press(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(controller->navigation().selectedBotId(), chats.neighbourOf(first, 1));
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(controller->navigation().selectedBotId(), first);
    EXPECT_TRUE(focusIn(QStringLiteral("composerInput")));

    // Shift+Tab reaches the list, which starts on the open chat; Down and Enter open the next.
    ASSERT_TRUE(tabTo(QStringLiteral("chatList"), false)) << focusedName().toStdString();
    EXPECT_EQ(item(QStringLiteral("chatList"))->property("currentIndex").toInt(), row);
    press(Qt::Key_Down);
    grab(QStringLiteral("keyboard-chat-list"));
    press(Qt::Key_Return);
    EXPECT_EQ(controller->navigation().selectedBotId(), chats.botIdAt((row + 1) % 3));
    EXPECT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }))
        << focusedName().toStdString();
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(KeyboardScreensTest, PageKeysScrollTheConversationWhileTheComposerKeepsTheCaret) {
    StoredState state = seededDocument();
    for (int i = 0; i < 60; ++i)
        state.messages.append({QStringLiteral("page%1").arg(i),
                               spanishId,
                               i % 2 ? MessageRole::User : MessageRole::Assistant,
                               QStringLiteral("Mensaje número %1").arg(i),
                               {},
                               1'700'000'000'000 + i,
                               MessageSource::Provider,
                               {}});
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] { return focusIn(QStringLiteral("composerInput")); }));
    QQuickItem* list = item(QStringLiteral("messageList"));
    ASSERT_TRUE(
        spinUntil([&] { return list->property("atYBeginning").isValid() && bubbles() > 0; }));
    const auto y = [list] { return list->property("contentY").toReal(); };
    // Whether the bubble of the message with that text is wholly inside the list on screen.
    const auto shown = [&](const QString& text) {
        const QRectF view = list->mapRectToScene(QRectF(0, 0, list->width(), list->height()));
        for (QQuickItem* bubble : items(QStringLiteral("bubble"))) {
            QQuickItem* message = bubble;
            while (message && !message->property("messageId").isValid())
                message = message->parentItem();
            if (message && message->property("text").toString() == text)
                return view.contains(
                    bubble->mapRectToScene(QRectF(0, 0, bubble->width(), bubble->height())));
        }
        return false;
    };
    const QString newest = QStringLiteral("Mensaje número 59");
    const QString oldest = QStringLiteral("¡Hola Ana! ¿Qué música escuchas estos días?");
    // The chat opens on its newest message, whole.
    ASSERT_TRUE(spinUntil([&] { return shown(newest); }));
    const qreal start = y();

    // Page Up goes back in time and Page Down forward again, by most of a screen each.
    press(Qt::Key_PageUp);
    EXPECT_LT(y(), start - list->height() / 2);
    EXPECT_FALSE(shown(newest));
    press(Qt::Key_PageDown);
    EXPECT_TRUE(spinUntil([&] { return shown(newest); })) << y() << " against " << start;
    // Ctrl+Home goes to the first message of the chat, Ctrl+End to the newest.
    press(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_TRUE(spinUntil([&] { return shown(oldest); }));
    press(Qt::Key_End, Qt::ControlModifier);
    EXPECT_TRUE(spinUntil([&] { return shown(newest); })) << y();
    EXPECT_TRUE(focusIn(QStringLiteral("composerInput")));

    // The wheel scrolls back too, and the list stays where the wheel left it while older
    // bubbles are made above.
    const QPointF over = list->mapToScene({list->width() / 2, list->height() / 2});
    const qreal before = y();
    for (int i = 0; i < 3; ++i) {
        QWheelEvent wheel(over, window()->mapToGlobal(over), {}, {0, 120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(window(), &wheel);
        spinUntil([] { return false; }, 5);
    }
    ASSERT_LT(y(), before);
    const qreal wheeled = y();
    spinUntil([] { return false; }, 20);
    EXPECT_NEAR(y(), wheeled, 1) << "the list went back to the newest message by itself";
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(KeyboardScreensTest, ANarrowWindowShowsTheListOrTheConversationWithAWayBack) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    window()->resize(480, 640);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("chatSidebar"))->width() > 0; }));
    ASSERT_TRUE(spinUntil([this] { return !item(QStringLiteral("chatSidebar"))->isVisible(); }))
        << "the open conversation takes the whole window";
    QQuickItem* back = item(QStringLiteral("backButton"));
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(back->isVisible());
    // Everything of the conversation fits in the window.
    EXPECT_TRUE(spinUntil([this] {
        QQuickItem* send = item(QStringLiteral("sendButton"));
        return send->mapToScene({0, 0}).x() + send->width() <= 480;
    }));
    grab(QStringLiteral("narrow-conversation"));

    QMetaObject::invokeMethod(back, "clicked");
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("chatSidebar"))->isVisible(); }));
    EXPECT_TRUE(controller->navigation().selectedBotId().isEmpty());
    EXPECT_GE(item(QStringLiteral("chatSidebar"))->width(), 470);
    grab(QStringLiteral("narrow-chat-list"));

    // Wide again: both side by side.
    window()->resize(1040, 700);
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] {
        return item(QStringLiteral("chatSidebar"))->isVisible() &&
               item(QStringLiteral("conversationName")) != nullptr;
    }));
    EXPECT_FALSE(item(QStringLiteral("backButton"))->isVisible());
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
