// SPDX-License-Identifier: Apache-2.0
#include "common/Clock.h"
#include "models/SelectionTranslation.h"
#include "models/WordHover.h"
#include "support/ManualClock.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace quillo;

namespace {

// A lookup that answers after `delay` of the manual clock (which outlives it): "meaning of
// TEXT", or a failure for any text that starts with "?".
QCoro::Task<TranslationResult<Meaning>> slowLookup(ManualClock* clock, qint64 delay, QString text) {
    co_await clock->sleep(delay);
    if (text.startsWith(u'?'))
        co_return TranslationResult<Meaning>(
            TranslationFailure{FreeTranslatorError::NoTranslation, {}});
    co_return TranslationResult<Meaning>(
        Meaning{QStringLiteral("meaning of ") + text, {QStringLiteral("also ") + text}});
}

void settle(ManualClock& clock, qint64 millis) {
    clock.advance(millis);
    QCoreApplication::processEvents();
}

} // namespace

TEST(WordHover, ShowsTheReadingAtOnceAndTheGlossOfTheNewestWordOnly) {
    ManualClock clock;
    WordHover hover;
    qint64 nextDelay = 300;
    QStringList fetched;
    hover.wire([&](QString messageId, QString word, QString) {
        fetched.append(messageId);
        const qint64 delay = nextDelay;
        nextDelay = 100;
        return slowLookup(&clock, delay, word);
    });

    hover.show(QStringLiteral("m1"), QStringLiteral("привет"), QStringLiteral("Russian"));
    EXPECT_TRUE(hover.shown());
    EXPECT_TRUE(hover.busy());
    EXPECT_EQ(hover.reading(), u"privet");
    // The pointer moves on before the first answer: the slower, older answer must not win.
    hover.show(QStringLiteral("m1"), QStringLiteral("друг"), QStringLiteral("Russian"),
               QStringLiteral("friend (from the message)"));
    EXPECT_EQ(hover.gloss(), u"friend (from the message)");
    settle(clock, 150);
    EXPECT_EQ(hover.gloss(), u"meaning of друг");
    settle(clock, 300);
    EXPECT_EQ(hover.word(), u"друг");
    EXPECT_EQ(hover.gloss(), u"meaning of друг");
    EXPECT_EQ(fetched, (QStringList{u"m1"_qs, u"m1"_qs}));

    // A failed lookup says so in place of any gloss, the message's own included.
    hover.show(QStringLiteral("m2"), QStringLiteral("?кот"), QStringLiteral("Russian"),
               QStringLiteral("cat"));
    EXPECT_EQ(hover.gloss(), u"cat") << "while the lookup runs";
    EXPECT_TRUE(hover.busy());
    settle(clock, 150);
    EXPECT_FALSE(hover.busy());
    EXPECT_TRUE(hover.gloss().isEmpty());
    EXPECT_EQ(hover.failureLine(), u"No translation right now.");
    hover.show(QStringLiteral("m2"), QStringLiteral("?пёс"), QStringLiteral("Russian"));
    settle(clock, 150);
    EXPECT_TRUE(hover.gloss().isEmpty());
    EXPECT_EQ(hover.failureLine(), u"No translation right now.");
    // Back on a word that answers: its gloss, and the failure gone.
    hover.show(QStringLiteral("m2"), QStringLiteral("кот"), QStringLiteral("Russian"),
               QStringLiteral("cat"));
    EXPECT_TRUE(hover.failureLine().isEmpty());
    settle(clock, 150);
    EXPECT_EQ(hover.gloss(), u"meaning of кот");
    EXPECT_TRUE(hover.failureLine().isEmpty());

    hover.hide();
    EXPECT_FALSE(hover.shown());
}

TEST(WordHover, WithoutALookupSaysThereIsNoTranslation) {
    WordHover hover;
    hover.show(QStringLiteral("m1"), QStringLiteral("casa"), QStringLiteral("Spanish"),
               QStringLiteral("house"));
    EXPECT_TRUE(hover.shown());
    EXPECT_FALSE(hover.busy());
    EXPECT_TRUE(hover.reading().isEmpty());
    EXPECT_TRUE(hover.gloss().isEmpty());
    EXPECT_EQ(hover.failureLine(), u"No translation right now.");
}

TEST(SelectionTranslation, GivesTheMeaningWithItsAlternativesOrItsOwnFailureLines) {
    SelectionTranslation unwired;
    unwired.translate(QStringLiteral("Spanish"), QStringLiteral("buenos días"));
    EXPECT_EQ(unwired.failureLine(), u"Meaning is not available right now.");

    ManualClock clock;
    SelectionTranslation panel;
    panel.wire([&clock](QString, QString text) { return slowLookup(&clock, 100, text); });
    panel.translate(QStringLiteral("Spanish"), QStringLiteral("  buenos días "));
    EXPECT_TRUE(panel.busy());
    EXPECT_EQ(panel.text(), u"buenos días");
    settle(clock, 100);
    EXPECT_FALSE(panel.busy());
    EXPECT_EQ(panel.meaning(), u"meaning of   buenos días ");
    EXPECT_EQ(panel.alternatives(), QStringList{u"also   buenos días "_qs});

    panel.translate(QStringLiteral("Spanish"), QStringLiteral("?nada"));
    settle(clock, 100);
    EXPECT_TRUE(panel.meaning().isEmpty());
    EXPECT_EQ(panel.failureLine(), u"No translation right now. Try again in a moment.");

    // Cleared while a lookup runs: its answer is dropped.
    panel.translate(QStringLiteral("Spanish"), QStringLiteral("hola"));
    panel.clear();
    settle(clock, 100);
    EXPECT_FALSE(panel.shown());
    EXPECT_TRUE(panel.meaning().isEmpty());
}
