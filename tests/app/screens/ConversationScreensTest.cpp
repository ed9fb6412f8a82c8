// SPDX-License-Identifier: Apache-2.0
#include "../NotificationServer.h"
#include "../PrivateBus.h"
#include "ScreensFixture.h"
#include "client/SpokenRecording.h"
#include "dictation/WavFile.h"
#include "dictation/WavFileSource.h"
#include "server/TranscribeFixture.h"

#include <QDBusMessage>
#include <QTest>

using namespace quillo;
using namespace quillo::screentest;
using ModelFixture = quillo::server::ModelFixture;
using ScreensRenderTest = ScreensTest;

namespace {

TEST_F(ScreensRenderTest, TypingInTheComposerEndsWithTheContactsReplyOnScreen) {
    model.setDefault(ModelFixture::reply(
        QStringLiteral(R"({"message":"¡Qué bien! ¿Y qué tal el fin de semana?","remember":""})")));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    QQuickItem* input = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (input = item(QStringLiteral("composerInput"))); }));
    input->forceActiveFocus();

    // Shift+Enter breaks the line; Enter sends.
    typeInto(window(), QStringLiteral("Hola"));
    QTest::keyClick(window(), Qt::Key_Return, Qt::ShiftModifier);
    typeInto(window(), QStringLiteral("estoy bien"));
    EXPECT_EQ(textOf(input), QStringLiteral("Hola\nestoy bien"));
    QTest::keyClick(window(), Qt::Key_Return);
    EXPECT_EQ(textOf(input), QString());

    MessageListModel& shown = *context->conversation()->messages();
    ASSERT_TRUE(spinUntil([&] { return shown.rowCount() == 3; }, 2000, 100));
    // Newest first, as the view shows them from its bottom edge up.
    EXPECT_EQ(shown.data(shown.index(1), MessageListModel::TextRole).toString(),
              QStringLiteral("Hola\nestoy bien"));
    EXPECT_EQ(shown.data(shown.index(0), MessageListModel::TextRole).toString(),
              QStringLiteral("¡Qué bien! ¿Y qué tal el fin de semana?"));
    // The reply is drawn word by word in its bubble.
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("semana")) != nullptr; }));
    EXPECT_TRUE(wordItem(QStringLiteral("semana"))->isVisible());
    grab(QStringLiteral("conversation-reply"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, WithoutAModelTheConversationSaysSoUntilOneAnswers) {
    // The service looks on one loopback port where nothing answers yet.
    const int modelPort = server::apitest::freeLoopbackPort();
    config.modelUrl.clear();
    config.modelName.clear();
    config.modelCandidates = {QStringLiteral("http://127.0.0.1:%1/v1").arg(modelPort)};
    restart();
    qputenv("QUILLO_API_URL", QStringLiteral("http://127.0.0.1:%1").arg(port()).toUtf8());
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    // As the window coming to the front does.
    controller->didBecomeActive();
    controller->navigation().select(spanishId);
    const QString notice = QStringLiteral("No model is answering the service. Start Ollama or "
                                          "llama.cpp on this computer, or set QUILLO_MODEL_URL.");
    ASSERT_TRUE(spinUntil([&] {
        QQuickItem* line = item(QStringLiteral("repliesNotice"));
        return line && line->isVisible() && textOf(line) == notice;
    }));
    grab(QStringLiteral("conversation-no-model"));

    // A model server starts; the service looks again when a reply is asked for, and the reply
    // takes the line away.
    ModelFixture later(8, modelPort);
    later.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Por fin!"})")));
    clock.advance(60'000);
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("¿Hola?")));
    ASSERT_TRUE(
        spinUntil([&] { return !item(QStringLiteral("repliesNotice"))->isVisible(); }, 2500, 100));
    EXPECT_EQ(controller->repository().state().messages.last().text, u"¡Por fin!");
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, SpeakingIntoTheMicrophoneFillsTheComposer) {
    const dictationtest::SpokenRecording speech(QStringLiteral("es"),
                                                QStringLiteral("Me gusta mucho la música."));
    ASSERT_TRUE(speech.problem.isEmpty()) << speech.problem.toStdString();
    QFile recording(speech.converted);
    ASSERT_TRUE(recording.open(QIODevice::ReadOnly));
    const QByteArray samples = wav::decode(recording.readAll()).value();
    server::TranscribeFixture speechServer;
    speechServer.answer([&samples](const QByteArray& wav, const QString&) {
        return wav.size() - 44 < samples.size() ? QStringLiteral("Me gusta")
                                                : QStringLiteral("Me gusta mucho la música.");
    });
    const int servedOn = port();
    stop();
    config.listenPort = servedOn;
    config.transcribeUrl = speechServer.url();
    start();

    seed(seededDocument());
    AppContext::Desktop desktop;
    auto microphone = std::make_shared<WavFileSource>(samples, &appClock);
    desktop.microphone = microphone;
    ASSERT_NO_FATAL_FAILURE(launch(std::move(desktop)));
    controller->navigation().select(spanishId);
    QQuickItem* input = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (input = item(QStringLiteral("composerInput"))); }));
    input->setProperty("text", QStringLiteral("Mira:"));
    input->setProperty("cursorPosition", 5);
    ComposerDictation& dictation = *context->conversation()->dictation();
    EXPECT_EQ(dictation.language(), QStringLiteral("Spanish")) << "the contact's language first";

    QMetaObject::invokeMethod(item(QStringLiteral("micButton")), "clicked");
    ASSERT_TRUE(dictation.active());
    ASSERT_TRUE(spinUntil([this] {
        const QQuickItem* bar = item(QStringLiteral("listeningBar"));
        return bar && bar->isVisible();
    }));
    EXPECT_EQ(items(QStringLiteral("levelBar")).size(), Dictation::barCount);
    // Speech plays at its own pace on the app's clock; the first second's words show.
    ASSERT_TRUE(spinUntil([&] { return !dictation.text().isEmpty(); }, 400, 64));
    EXPECT_EQ(textOf(item(QStringLiteral("dictationText"))), QStringLiteral("Me gusta"));
    grab(QStringLiteral("dictation-listening"));

    ASSERT_TRUE(spinUntil([&] { return !microphone->isRunning(); }, 400, 64));
    QMetaObject::invokeMethod(item(QStringLiteral("finishDictation")), "clicked");
    ASSERT_TRUE(spinUntil([&] { return !dictation.active(); }, 2000));
    EXPECT_EQ(textOf(input), QStringLiteral("Mira: Me gusta mucho la música."));
    EXPECT_EQ(speechServer.requests().last().language, QStringLiteral("es"));
    grab(QStringLiteral("dictation-done"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, RestingThePointerOnAJapaneseWordShowsItsGlossAndReading) {
    translate.setLookupAnswer(translatetest::TranslateFixture::lookup(QStringLiteral("thank you")));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    item(QStringLiteral("conversationView"))->setProperty("hoverDelay", 0);
    QQuickItem* word = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (word = wordItem(QStringLiteral("ありがとう"))); }));

    QTest::mouseMove(window(), centreOf(word));
    QQuickItem* tooltip = item(QStringLiteral("wordTooltip"));
    ASSERT_TRUE(spinUntil([&] {
        return textOf(item(QStringLiteral("tooltipGloss"))) == QStringLiteral("thank you");
    }));
    EXPECT_TRUE(tooltip->isVisible());
    EXPECT_EQ(textOf(item(QStringLiteral("tooltipWord"))), QStringLiteral("ありがとう"));
    EXPECT_EQ(textOf(item(QStringLiteral("tooltipReading"))), QStringLiteral("arigatou"));
    grab(QStringLiteral("hover-gloss"));

    // The pointer leaves the words: the tooltip goes.
    QTest::mouseMove(window(), QPoint(window()->width() / 2, window()->height() - 20));
    ASSERT_TRUE(spinUntil([&] { return !tooltip->isVisible(); }));

    // A lookup that fails says so in the tooltip.
    translate.setLookupAnswer(translatetest::TranslateFixture::status(500));
    QTest::mouseMove(window(), centreOf(wordItem(QStringLiteral("いつ"))));
    ASSERT_TRUE(spinUntil([&] {
        return textOf(item(QStringLiteral("tooltipGloss"))) ==
               QStringLiteral("No translation right now.");
    }));
    QTest::mouseMove(window(), QPoint(window()->width() / 2, window()->height() - 20));
    ASSERT_TRUE(spinUntil([&] { return !tooltip->isVisible(); }));

    // So it does over a word the message glossed itself: the failure, not the old gloss.
    const qsizetype asked = translate.requests().size();
    QTest::mouseMove(window(), centreOf(wordItem(QStringLiteral("すごい"))));
    ASSERT_TRUE(spinUntil(
        [&] { return translate.requests().size() > asked && !context->wordHover()->busy(); }));
    EXPECT_TRUE(tooltip->isVisible());
    EXPECT_EQ(textOf(item(QStringLiteral("tooltipWord"))), QStringLiteral("すごい"));
    EXPECT_EQ(textOf(item(QStringLiteral("tooltipGloss"))),
              QStringLiteral("No translation right now."));
    grab(QStringLiteral("hover-failed"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, SelectingSeveralWordsOffersTheirTranslationInAPanel) {
    translate.setLookupAnswer(translatetest::TranslateFixture::lookup(
        QStringLiteral("Amazing! Thank you"),
        {QStringLiteral("wonderful"), QStringLiteral("great")}));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    QQuickItem* first = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (first = wordItem(QStringLiteral("すごい"))); }));
    QQuickItem* last = wordItem(QStringLiteral("ありがとう"));
    ASSERT_NE(last, nullptr);

    QTest::mousePress(window(), Qt::LeftButton, {}, centreOf(first));
    QTest::mouseMove(window(), centreOf(last));
    QTest::mouseRelease(window(), Qt::LeftButton, {}, centreOf(last));
    QQuickItem* button = item(QStringLiteral("translateButton"));
    ASSERT_TRUE(spinUntil([&] { return button->isVisible(); }));
    grab(QStringLiteral("selection-button"));

    QMetaObject::invokeMethod(button, "clicked");
    ASSERT_TRUE(spinUntil([this] {
        return textOf(item(QStringLiteral("selectionMeaning"))) ==
               QStringLiteral("Amazing! Thank you");
    }));
    EXPECT_EQ(textOf(item(QStringLiteral("selectionAlternatives"))),
              QStringLiteral("Also: wonderful, great"));
    const auto asked = translate.requests();
    ASSERT_FALSE(asked.isEmpty());
    EXPECT_EQ(asked.last().queryValue(QStringLiteral("q")), QStringLiteral("すごい！ありがとう"));
    grab(QStringLiteral("selection-panel"));

    // A failed lookup gives the panel's own line.
    translate.setLookupAnswer(translatetest::TranslateFixture::status(500));
    context->selectionTranslation()->translate(QStringLiteral("Japanese"), QStringLiteral("いつ"));
    ASSERT_TRUE(spinUntil([this] {
        return textOf(item(QStringLiteral("selectionFailure"))) ==
               QStringLiteral("No translation right now. Try again in a moment.");
    }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, AReplyForAChatNotOnScreenRaisesANotificationAndTheUnreadCount) {
    model.setDefault(ModelFixture::reply(
        QStringLiteral(R"({"message":"Отлично! А что ты делала в выходные?","remember":""})")));
    model.hold();
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(russianId);
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("Всё хорошо")));
    // The user moves on to another chat while the reply is written.
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] { return context->conversation()->botId() == spanishId; }));
    const int unreadBefore = context->unread();
    // Cards are for when Quillo is not the window in use: another one comes to the front.
    QWindow elsewhere;
    elsewhere.resize(200, 100);
    elsewhere.show();
    elsewhere.requestActivate();
    ASSERT_TRUE(spinUntil([this] { return !window()->isActive(); }));
    spinUntil([] { return false; }, 10, 100); // the client's pacing slot passes
    ASSERT_TRUE(model.waitForHeld(1));
    model.release();

    ASSERT_TRUE(spinUntil([this] { return context->notifications()->rowCount() == 1; }, 2000, 100));
    const NotificationPayload card = context->notifications()->cards().first();
    EXPECT_EQ(card.botId, russianId);
    EXPECT_EQ(card.title, QStringLiteral("Sasha Volkov"));
    EXPECT_EQ(card.initials, QStringLiteral("SV"));
    EXPECT_EQ(card.subtitle, QStringLiteral("Russian · A2"));
    EXPECT_EQ(card.body, QStringLiteral("Отлично! А что ты делала в выходные?"));
    EXPECT_EQ(context->unread(), unreadBefore + 1);
    const int row = context->chats()->rowOf(russianId);
    EXPECT_EQ(context->chats()->data(context->chats()->index(row), ChatListModel::UnreadRole), 1);

    auto* panel = window()->findChild<QQuickWindow*>(QStringLiteral("notificationPanel"));
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(spinUntil([panel] { return panel->isVisible(); }));
    grab(QStringLiteral("notification-panel"), panel);
    grab(QStringLiteral("chats-unread"));

    // Activating the card opens that conversation, which reads it.
    context->notifications()->activate(0);
    EXPECT_EQ(controller->navigation().selectedBotId(), russianId);
    EXPECT_EQ(context->unread(), unreadBefore);
    EXPECT_EQ(context->notifications()->rowCount(), 0);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest,
       WithANotificationServerAReplyBecomesADesktopNotificationThatOpensItsChat) {
    apptest::PrivateBus bus;
    ASSERT_FALSE(bus.address().isEmpty()) << "dbus-daemon did not start";
    QDBusConnection desktopSide = bus.connect(QStringLiteral("desktop"));
    apptest::NotificationServer server;
    ASSERT_TRUE(desktopSide.registerObject(QStringLiteral("/org/freedesktop/Notifications"),
                                           &server, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(desktopSide.registerService(QStringLiteral("org.freedesktop.Notifications")));

    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"message":"Отлично!","remember":""})")));
    model.hold();
    seed(seededDocument());
    AppContext::Desktop desktop;
    desktop.bus = bus.connect(QStringLiteral("quillo"));
    ASSERT_NO_FATAL_FAILURE(launch(std::move(desktop)));
    controller->navigation().select(russianId);
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("Всё хорошо")));
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] { return context->conversation()->botId() == spanishId; }));
    spinUntil([] { return false; }, 10, 100); // the client's pacing slot passes
    ASSERT_TRUE(model.waitForHeld(1));
    model.release();

    ASSERT_TRUE(spinUntil([&server] { return !server.shown.isEmpty(); }, 2000, 100));
    EXPECT_EQ(server.shown.first().summary, QStringLiteral("Sasha Volkov"));
    EXPECT_EQ(server.shown.first().body, QStringLiteral("Russian · A2\nОтлично!"));
    EXPECT_EQ(context->notifications()->rowCount(), 0) << "no card beside the desktop's own";

    // The user clicks it while the window is away.
    window()->hide();
    QDBusMessage invoked = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
    invoked << server.lastId << QStringLiteral("default");
    desktopSide.send(invoked);
    ASSERT_TRUE(
        spinUntil([this] { return controller->navigation().selectedBotId() == russianId; }, 2000));
    EXPECT_TRUE(spinUntil([this] { return window()->isVisible(); }));
    // Read now.
    const int row = context->chats()->rowOf(russianId);
    EXPECT_EQ(context->chats()->data(context->chats()->index(row), ChatListModel::UnreadRole), 0);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, ScrollingALongConversationLaysOutOnlyTheMessagesOnScreen) {
    StoredState state = seededDocument();
    for (int i = 0; i < 2000; ++i)
        state.messages.append(
            {QStringLiteral("long%1").arg(i),
             spanishId,
             i % 2 ? MessageRole::User : MessageRole::Assistant,
             QStringLiteral("Mensaje número %1: ¿qué tal va todo por allí?").arg(i),
             {},
             1'700'000'000'000 + i,
             MessageSource::Provider,
             {}});
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    // A message is laid out when a bubble for it is made; the bubbles made since the last look
    // are those not yet marked.
    int made = 0;
    const auto newBubbles = [&] {
        int fresh = 0;
        for (QQuickItem* bubble : items(QStringLiteral("bubble"))) {
            if (!bubble->property("counted").toBool()) {
                bubble->setProperty("counted", true);
                ++fresh;
            }
        }
        made += fresh;
        return fresh;
    };
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([&] { return bubbles() > 0; }));
    QQuickItem* list = item(QStringLiteral("messageList"));
    ASSERT_NE(list, nullptr);

    newBubbles();
    EXPECT_LT(made, 40) << "opening makes only the bubbles on screen";
    // Page up through part of the chat: each page makes what comes into view, no more.
    for (int page = 0; page < 20; ++page) {
        // The list grows upwards: older messages lie at smaller y.
        const qreal y = list->property("contentY").toReal();
        list->setProperty("contentY", y - list->height());
        QCoreApplication::processEvents();
        EXPECT_LE(newBubbles(), bubbles()) << "page " << page;
    }
    QMetaObject::invokeMethod(list, "positionViewAtEnd");
    QCoreApplication::processEvents();
    EXPECT_LE(newBubbles(), bubbles());
    EXPECT_LT(made, 600) << "of 2,001 messages";
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, AFailedReplyIsSaidOnceUnderTheMessagesAndGoesWithTheNextMessage) {
    model.setDefault(ModelFixture::status(500));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("¿Estás?")));
    QQuickItem* line = item(QStringLiteral("errorLine"));
    ASSERT_NE(line, nullptr);
    ASSERT_TRUE(spinUntil([&] { return line->isVisible(); }, 4000, 1000));
    EXPECT_EQ(textOf(line),
              QStringLiteral("Quillo didn't answer this time. No fake reply was added."));
    EXPECT_EQ(context->conversation()->messages()->rowCount(), 2) << "no made-up reply";
    grab(QStringLiteral("conversation-error"));

    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Sí!","remember":""})")));
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("¿Hola?")));
    EXPECT_FALSE(line->isVisible());
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
