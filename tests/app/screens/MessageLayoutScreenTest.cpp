// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QTest>

using namespace quillo;
using namespace quillo::screentest;
using MessageLayoutScreenTest = ScreensTest;

namespace {

// Takes the addresses the app hands to the desktop's opener.
class Opener : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl& url) { opened.append(url); }
};

ChatMessage contactMessage(const QString& botId, qint64 at, const QString& text) {
    return {QStringLiteral("layout%1").arg(at),
            botId,
            MessageRole::Assistant,
            text,
            {},
            at,
            MessageSource::Provider,
            {}};
}

QRectF sceneRect(QQuickItem* item) {
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

// The message item a piece of a bubble belongs to.
QQuickItem* messageOf(QQuickItem* item) {
    while (item && !item->property("messageId").isValid())
        item = item->parentItem();
    return item;
}

QQuickItem* ancestorNamed(QQuickItem* item, const QString& name) {
    while (item && item->objectName() != name)
        item = item->parentItem();
    return item;
}

const QString arabic = QStringLiteral("مرحبا يا صديقي، كيف حالك اليوم؟");
const QString hebrew = QStringLiteral("שלום Ana Maria, מה שלומך?");

} // namespace

TEST_F(MessageLayoutScreenTest, RightToLeftMessagesReadFromTheRightEdgeInTheirOwnOrder) {
    StoredState state = seededDocument();
    const qint64 t = 1'700'000'000'000;
    state.messages.append(contactMessage(spanishId, t - 4'000'000, arabic));
    state.messages.append(contactMessage(spanishId, t - 3'000'000, hebrew));
    state.messages.append(
        contactMessage(spanishId, t - 2'000'000,
                       QStringLiteral("Mi amiga dice أهلا وسهلا بك cuando llegas, ¡qué bonito!")));
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("صديقي")) != nullptr; }));
    spinUntil([] { return false; }, 5);

    const auto left = [this](const QString& word) {
        QQuickItem* found = wordItem(word);
        EXPECT_NE(found, nullptr) << word.toStdString();
        return found ? sceneRect(found).left() : 0.0;
    };
    // Arabic: each word left of the one before it.
    const QStringList arabicWords = {QStringLiteral("مرحبا"), QStringLiteral("يا"),
                                     QStringLiteral("صديقي"), QStringLiteral("كيف"),
                                     QStringLiteral("حالك"),  QStringLiteral("اليوم")};
    for (qsizetype i = 1; i < arabicWords.size(); ++i)
        EXPECT_LT(left(arabicWords[i]), left(arabicWords[i - 1])) << arabicWords[i].toStdString();
    // The first word ends at the bubble's right edge, inside its padding.
    QQuickItem* first = wordItem(arabicWords.first());
    const QRectF bubble = sceneRect(ancestorNamed(first, QStringLiteral("bubble")));
    EXPECT_NEAR(sceneRect(first).right(), bubble.right() - 14, 1.5);
    // The drawn word fits the place the flow measured for it.
    for (QQuickItem* word : items(QStringLiteral("word"))) {
        QQuickItem* text = nullptr;
        for (QQuickItem* child : word->childItems()) {
            if (child->objectName() == u"wordText")
                text = child;
        }
        ASSERT_NE(text, nullptr);
        EXPECT_LE(text->implicitWidth(), word->width() + 1.5) << textOf(text).toStdString();
    }

    // Hebrew around a Latin name: the name reads left to right where it stands.
    EXPECT_LT(left(QStringLiteral("Ana")), left(QStringLiteral("Maria")));
    EXPECT_LT(left(QStringLiteral("Maria")), left(QStringLiteral("שלום")));
    EXPECT_LT(left(QStringLiteral("מה")), left(QStringLiteral("Ana")));
    // Arabic inside Spanish: the phrase right to left, the sentence left to right.
    EXPECT_LT(left(QStringLiteral("dice")), left(QStringLiteral("بك")));
    EXPECT_LT(left(QStringLiteral("بك")), left(QStringLiteral("أهلا")));
    EXPECT_LT(left(QStringLiteral("أهلا")), left(QStringLiteral("cuando")));

    // A screen reader hears who wrote it, when, and what.
    QQuickItem* message = messageOf(first);
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(message);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::ListItem);
    QQuickItem* time = nullptr;
    for (QQuickItem* candidate : items(QStringLiteral("messageTime"))) {
        if (messageOf(candidate) == message)
            time = candidate;
    }
    ASSERT_NE(time, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name),
              QStringLiteral("Lucía Ortega, %1: %2").arg(textOf(time), arabic));
    grab(QStringLiteral("conversation-right-to-left"));

    // A narrower window lays the messages out again: more lines, every word inside its
    // bubble, the Arabic still from the right edge.
    const auto linesOf = [this](const QString& word) {
        QSet<qreal> tops;
        QQuickItem* holder = messageOf(wordItem(word));
        for (QQuickItem* piece : items(QStringLiteral("word"))) {
            if (messageOf(piece) == holder)
                tops.insert(sceneRect(piece).top());
        }
        return tops.size();
    };
    const qsizetype wideLines = linesOf(arabicWords.first());
    window()->resize(window()->width() - 260, window()->height());
    // The new width reaches the bubbles through a resize event and a layout pass.
    EXPECT_TRUE(spinUntil([&] { return linesOf(arabicWords.first()) > wideLines; }))
        << linesOf(arabicWords.first()) << " lines, as wide";
    for (QQuickItem* word : items(QStringLiteral("word"))) {
        const QRectF around = sceneRect(ancestorNamed(word, QStringLiteral("bubble")));
        EXPECT_TRUE(around.contains(sceneRect(word))) << textOf(word).toStdString();
    }
    QQuickItem* firstAgain = wordItem(arabicWords.first());
    EXPECT_NEAR(sceneRect(firstAgain).right(),
                sceneRect(ancestorNamed(firstAgain, QStringLiteral("bubble"))).right() - 14, 1.5);
    grab(QStringLiteral("conversation-right-to-left-narrow"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(MessageLayoutScreenTest, TheKeyboardSelectsWordsTranslatesThemBesideThePassageAndCopies) {
    translate.setLookupAnswer(translatetest::TranslateFixture::lookup(
        QStringLiteral("Amazing! Thank you"), {QStringLiteral("wonderful")}));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(japaneseId);
    QQuickItem* word = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (word = wordItem(QStringLiteral("すごい"))); }));
    // Each reading stands centred over its word, the words' row under the readings' row.
    int centred = 0;
    for (QQuickItem* piece : items(QStringLiteral("word"))) {
        QQuickItem* reading = nullptr;
        QQuickItem* text = nullptr;
        for (QQuickItem* child : piece->childItems()) {
            if (child->objectName() == u"reading")
                reading = child;
            if (child->objectName() == u"wordText")
                text = child;
        }
        ASSERT_TRUE(reading && text);
        if (!reading->isVisible())
            continue;
        EXPECT_NEAR(sceneRect(reading).center().x(), sceneRect(text).center().x(), 0.5)
            << textOf(text).toStdString();
        EXPECT_LE(sceneRect(reading).bottom(), sceneRect(text).top() + 0.5);
        ++centred;
    }
    EXPECT_GE(centred, 4);

    QQuickItem* message = messageOf(word);
    ASSERT_NE(message, nullptr);
    EXPECT_TRUE(message->activeFocusOnTab());
    message->forceActiveFocus(Qt::TabFocusReason);
    ASSERT_TRUE(spinUntil([&] { return message->hasActiveFocus(); }));

    // Right puts the caret on the first word; Enter shows its gloss.
    QTest::keyClick(window(), Qt::Key_Right);
    EXPECT_EQ(message->property("caretStart").toInt(), 0);
    QTest::keyClick(window(), Qt::Key_Return);
    QQuickItem* tooltip = item(QStringLiteral("wordTooltip"));
    ASSERT_TRUE(spinUntil([&] { return tooltip->isVisible(); }));
    EXPECT_EQ(textOf(item(QStringLiteral("tooltipWord"))), QStringLiteral("すごい"));
    QTest::keyClick(window(), Qt::Key_Escape);
    ASSERT_TRUE(spinUntil([&] { return !tooltip->isVisible(); }));

    // Shift+Right takes in the next word and the punctuation between.
    QTest::keyClick(window(), Qt::Key_Right);
    QTest::keyClick(window(), Qt::Key_Right, Qt::ShiftModifier);
    QTest::keyClick(window(), Qt::Key_Right, Qt::ShiftModifier);
    QTest::keyClick(window(), Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(message->property("selectedText").toString(), QStringLiteral("すごい！ありがとう"));

    QTest::keyClick(window(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("すごい！ありがとう"));

    QTest::keyClick(window(), Qt::Key_T, Qt::ControlModifier);
    QQuickItem* panel = item(QStringLiteral("selectionPanel"));
    ASSERT_TRUE(spinUntil([this] {
        return textOf(item(QStringLiteral("selectionMeaning"))) ==
               QStringLiteral("Amazing! Thank you");
    }));
    spinUntil([] { return false; }, 5);
    // The panel stands beside the words it translates, not over them.
    QRectF passage;
    for (QQuickItem* piece : items(QStringLiteral("word")) + items(QStringLiteral("gap"))) {
        if (piece->property("selected").toBool())
            passage = passage.united(sceneRect(piece));
    }
    ASSERT_FALSE(passage.isEmpty());
    EXPECT_FALSE(sceneRect(panel).intersects(passage))
        << "panel " << sceneRect(panel).y() << "+" << sceneRect(panel).height() << ", passage "
        << passage.y() << "+" << passage.height();
    grab(QStringLiteral("keyboard-translation"));

    // Esc closes it and lets the selection go.
    QTest::keyClick(window(), Qt::Key_Escape);
    ASSERT_TRUE(spinUntil([&] { return !panel->isVisible(); }));
    EXPECT_TRUE(message->property("selectedText").toString().isEmpty());

    // Any message, the user's own too, copies from its menu.
    QQuickItem* own = nullptr;
    for (QQuickItem* bubble : items(QStringLiteral("bubble"))) {
        QQuickItem* candidate = messageOf(bubble);
        if (candidate && candidate->property("fromUser").toBool())
            own = bubble;
    }
    ASSERT_NE(own, nullptr);
    QTest::mouseClick(window(), Qt::RightButton, {}, centreOf(own));
    QQuickItem* copy = nullptr;
    ASSERT_TRUE(spinUntil(
        [&] { return (copy = item(QStringLiteral("copyMessage"))) && copy->isVisible(); }));
    spinUntil([] { return false; }, 5);
    QTest::mouseClick(window(), Qt::LeftButton, {}, centreOf(copy));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("こんにちは！京都に行きます。"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(MessageLayoutScreenTest, AnAddressIsOneLinkThatOpensInTheBrowser) {
    const QString address = QStringLiteral("https://es.wikipedia.org/wiki/Tapas_(comida)");
    StoredState state = seededDocument();
    state.messages.append(
        contactMessage(spanishId, 1'700'000'000'000 - 1'000'000,
                       QStringLiteral("Mira esto: %1. ¡Qué hambre!").arg(address)));
    seed(state);
    ASSERT_NO_FATAL_FAILURE(launch());
    Opener opener;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &opener, "open");
    controller->navigation().select(spanishId);
    QQuickItem* link = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (link = item(QStringLiteral("link"))); }));
    spinUntil([] { return false; }, 5);
    link = item(QStringLiteral("link"));
    EXPECT_EQ(link->property("piece").toMap().value(QStringLiteral("text")).toString(), address);
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(link);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::Link);
    EXPECT_EQ(accessible->text(QAccessible::Name), address);
    grab(QStringLiteral("conversation-link"));

    QTest::mouseClick(window(), Qt::LeftButton, {}, centreOf(link));
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    EXPECT_EQ(opener.opened, QList<QUrl>{QUrl(address)});
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

#include "MessageLayoutScreenTest.moc"
