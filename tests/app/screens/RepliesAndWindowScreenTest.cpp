// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"
#include "models/Navigation.h"
#include "screens/ContactDraft.h"
#include "screens/NotificationCards.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

using namespace quillo;
using namespace quillo::screentest;
using ModelFixture = quillo::server::ModelFixture;
using RepliesAndWindowTest = ScreensTest;

namespace {

const QString lucia = QStringLiteral("lucia");

ChatMessage message(const QString& id, MessageRole role, qint64 at, const QString& text) {
    return {id,
            lucia,
            role,
            text,
            {},
            at,
            role == MessageRole::User ? MessageSource::User : MessageSource::Provider,
            {}};
}

// Local time on a day some days before today.
qint64 at(int daysAgo, int hour, int minute) {
    return QDateTime(QDate::currentDate().addDays(-daysAgo), QTime(hour, minute))
        .toMSecsSinceEpoch();
}

// The "Not answered" lines on screen.
QList<QQuickItem*> shownMarks(const QList<QQuickItem*>& marks) {
    QList<QQuickItem*> shown;
    for (QQuickItem* mark : marks) {
        if (mark->isVisible())
            shown.append(mark);
    }
    return shown;
}

TEST_F(RepliesAndWindowTest, AFailedReplyLeavesTheMessageNotAnsweredAndTryAgainAnswersIt) {
    model.setDefault(ModelFixture::status(500));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    MessageListModel& shown = *context->conversation()->messages();
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("¿Estás?")));
    // While the turn tries and waits, the contact is typing and nothing is marked.
    EXPECT_TRUE(context->conversation()->typing());
    EXPECT_FALSE(shown.data(shown.index(0), MessageListModel::NotAnsweredRole).toBool());

    // The waits of 8, 20 and 45 s pass on the app's clock.
    QQuickItem* line = item(QStringLiteral("errorLine"));
    ASSERT_TRUE(spinUntil([&] { return line->isVisible(); }, 4000, 1000));
    const QString said = textOf(line);
    EXPECT_EQ(said, QStringLiteral("Quillo didn't answer this time. No fake reply was added."));
    // The turn ends once the service has said whether a model answers.
    ASSERT_TRUE(spinUntil([&] { return !context->conversation()->typing(); }, 200, 100));
    EXPECT_TRUE(shown.data(shown.index(0), MessageListModel::NotAnsweredRole).toBool());
    EXPECT_FALSE(shown.data(shown.index(1), MessageListModel::NotAnsweredRole).toBool());
    ASSERT_TRUE(
        spinUntil([&] { return !shownMarks(items(QStringLiteral("notAnswered"))).isEmpty(); }));
    EXPECT_EQ(shownMarks(items(QStringLiteral("notAnswered"))).size(), 1)
        << "only under the newest message";
    QQuickItem* mark = shownMarks(items(QStringLiteral("notAnswered"))).first();
    grab(QStringLiteral("conversation-not-answered"));

    // The line goes (after a while, or with the next message); the mark stays.
    context->conversation()->dismissError();
    ASSERT_TRUE(spinUntil([&] { return !line->isVisible(); }));
    EXPECT_TRUE(mark->isVisible());

    // "Try again" is reached with Tab and pressed from the keyboard.
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Sí, aquí!"})")));
    const QList<QQuickItem*> buttons = shownMarks(items(QStringLiteral("tryAgain")));
    ASSERT_EQ(buttons.size(), 1);
    QQuickItem* again = buttons.first();
    EXPECT_EQ(again->property("focusPolicy").toInt(), int(Qt::StrongFocus));
    again->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(window(), Qt::Key_Space);
    ASSERT_TRUE(spinUntil([&] { return shown.rowCount() == 3; }, 2000, 100));
    EXPECT_EQ(shown.data(shown.index(0), MessageListModel::TextRole).toString(), u"¡Sí, aquí!");
    EXPECT_EQ(shown.data(shown.index(1), MessageListModel::TextRole).toString(), u"¿Estás?");
    EXPECT_FALSE(shown.data(shown.index(1), MessageListModel::NotAnsweredRole).toBool());
    ASSERT_TRUE(
        spinUntil([&] { return shownMarks(items(QStringLiteral("notAnswered"))).isEmpty(); }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, AMessageLeftUnansweredAtTheLastQuitOffersTryAgain) {
    StoredState state = seededDocument();
    state.messages.append(message(QStringLiteral("left"), MessageRole::User,
                                  1'700'000'000'000 - 1'000, QStringLiteral("¿Sigues ahí?")));
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(
        spinUntil([&] { return shownMarks(items(QStringLiteral("notAnswered"))).size() == 1; }));
    EXPECT_FALSE(context->conversation()->typing()) << "nothing answers by itself";
    grab(QStringLiteral("conversation-unanswered-after-restart"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, ALongChatIsDividedByDaysAndTimesFollowTheLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    StoredState state = seededDocument();
    state.messages.append(message(QStringLiteral("y1"), MessageRole::User, at(1, 9, 30),
                                  QStringLiteral("Buenos días")));
    state.messages.append(message(QStringLiteral("y2"), MessageRole::Assistant, at(1, 9, 31),
                                  QStringLiteral("¡Buenos días, Ana!")));
    state.messages.append(message(QStringLiteral("t1"), MessageRole::User, at(0, 13, 5),
                                  QStringLiteral("Hola otra vez")));
    state.messages.append(message(QStringLiteral("t2"), MessageRole::Assistant, at(0, 13, 6),
                                  QStringLiteral("¿Qué tal el día?")));
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([&] { return bubbles() == 5; }));
    ASSERT_TRUE(spinUntil([&] { return items(QStringLiteral("daySeparator")).size() >= 3; }));

    // The labels on screen, top to bottom.
    QList<std::pair<qreal, QString>> labels;
    for (QQuickItem* label : items(QStringLiteral("daySeparator"))) {
        if (label->isVisible())
            labels.append({label->mapToScene({0, 0}).y(), textOf(label)});
    }
    std::sort(labels.begin(), labels.end());
    const QString oldDay = QLocale().toString(
        QDateTime::fromMSecsSinceEpoch(1'700'000'000'000 - 7'000'000).date(), QLocale::LongFormat);
    ASSERT_EQ(labels.size(), 3);
    EXPECT_EQ(labels[0].second, oldDay);
    EXPECT_EQ(labels[1].second, u"Yesterday");
    EXPECT_EQ(labels[2].second, u"Today");
    // Each label stands between the days it divides.
    QList<qreal> bubblesByHeight;
    for (QQuickItem* bubble : items(QStringLiteral("bubble")))
        bubblesByHeight.append(bubble->mapToScene({0, 0}).y());
    std::sort(bubblesByHeight.begin(), bubblesByHeight.end());
    ASSERT_EQ(bubblesByHeight.size(), 5);
    EXPECT_LT(labels[0].first, bubblesByHeight[0]);
    EXPECT_GT(labels[1].first, bubblesByHeight[0]);
    EXPECT_LT(labels[1].first, bubblesByHeight[1]);
    EXPECT_GT(labels[2].first, bubblesByHeight[2]);
    EXPECT_LT(labels[2].first, bubblesByHeight[3]);

    // Times in the locale's short form: 1:05 PM, not 13:05.
    QStringList times;
    for (QQuickItem* time : items(QStringLiteral("messageTime")))
        times.append(textOf(time));
    EXPECT_TRUE(times.filter(QStringLiteral("1:05")).size() == 1) << times.join(u'|').toStdString();
    EXPECT_TRUE(times.filter(QStringLiteral("PM")).size() >= 2) << times.join(u'|').toStdString();
    EXPECT_TRUE(times.filter(QStringLiteral("13:05")).isEmpty());
    grab(QStringLiteral("conversation-days"));

    // A label further back than a week names the date; within it, the weekday.
    const QDate monday(2024, 3, 4);
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(MessageListModel::dayLabel(monday, monday.addDays(3), english), u"Monday");
    EXPECT_EQ(MessageListModel::dayLabel(monday, monday.addDays(7), english),
              english.toString(monday, QLocale::LongFormat));
    QLocale::setDefault(before);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, ControlQQuitsFromTheSignInScreen) {
    seed(StoredState(), false);
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("accessCode")) != nullptr; }));
    EXPECT_EQ(window()->title(), u"Quillo");
    // The engine's quit ends the application; here it only has to be asked for.
    QObject::disconnect(&screens->engine(), &QQmlEngine::quit, nullptr, nullptr);
    QSignalSpy asked(&screens->engine(), &QQmlEngine::quit);
    QTest::keyClick(window(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(asked.count(), 1);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, ControlQQuitsFromTheOnboarding) {
    seed(StoredState());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("startButton")) != nullptr; }));
    QObject::disconnect(&screens->engine(), &QQmlEngine::quit, nullptr, nullptr);
    QSignalSpy asked(&screens->engine(), &QQmlEngine::quit);
    QTest::keyClick(window(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(asked.count(), 1);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, SavingANewContactOpensItsChat) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    // The seeded Japanese reply is unread: the title counts it once, the desktop adds nothing.
    EXPECT_EQ(window()->title(), u"Quillo (1)");
    controller->navigation().showSheet(Navigation::Sheet::NewContact);
    QQuickItem* editor = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (editor = item(QStringLiteral("contactEditor"))); }));
    auto* draft = editor->property("draft").value<ContactDraft*>();
    ASSERT_NE(draft, nullptr);
    draft->setDisplayName(QStringLiteral("Marta Ruiz"));
    const QString added = draft->botId();
    QQuickItem* save = item(QStringLiteral("saveContact"));
    ASSERT_TRUE(spinUntil([&] { return save->isVisible() && save->isEnabled(); }));
    QTest::mouseClick(window(), Qt::LeftButton, {}, centreOf(save));
    ASSERT_TRUE(spinUntil([&] { return item(QStringLiteral("contactEditor")) == nullptr; }));
    EXPECT_EQ(controller->navigation().sheet(), Navigation::Sheet::None);
    EXPECT_EQ(controller->navigation().selectedBotId(), added);
    EXPECT_EQ(context->conversation()->name(), u"Marta Ruiz");
    grab(QStringLiteral("new-contact-chat-open"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, SigningOutFromTheSettingsClosesThemForTheNextSignIn) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().showSheet(Navigation::Sheet::Settings);
    ASSERT_TRUE(spinUntil([&] { return item(QStringLiteral("settingsSheet")) != nullptr; }));
    context->account()->signOut();
    ASSERT_TRUE(spinUntil([&] { return !context->account()->signedIn(); }));
    EXPECT_EQ(controller->navigation().sheet(), Navigation::Sheet::None);

    context->account()->signInWithCode(invite(QStringLiteral("ana@example.com")));
    ASSERT_TRUE(spinUntil([&] { return context->account()->signedIn(); }));
    ASSERT_TRUE(spinUntil([&] { return item(QStringLiteral("accessCode")) == nullptr; }));
    EXPECT_EQ(item(QStringLiteral("settingsSheet")), nullptr);
    grab(QStringLiteral("signed-in-again"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(RepliesAndWindowTest, NotificationCardsShowOnlyWhileQuilloIsNotTheActiveWindow) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    window()->requestActivate();
    ASSERT_TRUE(spinUntil([this] { return window()->isActive(); }));
    NotificationCards& cards = *context->notifications();
    NotificationPayload payload;
    payload.botId = russianId;
    payload.title = QStringLiteral("Sasha Volkov");
    payload.initials = QStringLiteral("SV");
    payload.subtitle = QStringLiteral("Russian · A2");
    payload.body = QStringLiteral("Отлично! А что ты делала в выходные?");
    cards.push(payload);
    EXPECT_EQ(cards.rowCount(), 0) << "Quillo is in front: the chat list says it";

    // Another window comes to the front.
    QWindow elsewhere;
    elsewhere.resize(200, 100);
    elsewhere.show();
    elsewhere.requestActivate();
    ASSERT_TRUE(spinUntil([&] { return !window()->isActive(); }));
    cards.push(payload);
    ASSERT_EQ(cards.rowCount(), 1);
    auto* panel = window()->findChild<QQuickWindow*>(QStringLiteral("notificationPanel"));
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(spinUntil([panel] { return panel->isVisible(); }));
    EXPECT_EQ(panel->color().alpha(), 255) << "no see-through corners to turn black";
    grab(QStringLiteral("notification-panel-inactive"), panel);

    // Back in Quillo, the cards go.
    window()->requestActivate();
    ASSERT_TRUE(spinUntil([this] { return window()->isActive(); }));
    EXPECT_TRUE(spinUntil([&] { return cards.rowCount() == 0; }));
    EXPECT_TRUE(spinUntil([panel] { return !panel->isVisible(); }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
