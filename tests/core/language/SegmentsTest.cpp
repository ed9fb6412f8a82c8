// SPDX-License-Identifier: Apache-2.0
#include "language/Segments.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

QList<Segment> spanish(const QString& text, const QList<WordGloss>& glosses = {}) {
    return Segments::build(text, glosses, [](const QString& gap) {
        return WordBreaks::ranges(gap, QStringLiteral("Spanish"));
    });
}

Segment glossed(qint64 start, qint64 end, const char16_t* gloss) {
    return {start, end, QString::fromUtf16(gloss)};
}

Segment plain(qint64 start, qint64 end) {
    return {start, end, std::nullopt};
}

WordGloss gloss(const char16_t* text, const char16_t* meaning) {
    return {QString::fromUtf16(text), QString::fromUtf16(meaning)};
}

} // namespace

TEST(Segments, WithoutGlossesEveryWordIsPlainAndPunctuationIsLeftOut) {
    EXPECT_EQ(spanish(QStringLiteral("Hola, ¿cómo estás?")),
              (QList<Segment>{plain(0, 4), plain(7, 11), plain(12, 17)}));
    EXPECT_TRUE(spanish(QString()).isEmpty());
    EXPECT_TRUE(spanish(QStringLiteral(" ¡¿…?! ")).isEmpty());
}

TEST(Segments, GlossesTakeSuccessiveOccurrencesInListOrder) {
    const QString text = QStringLiteral("el perro y el gato");
    EXPECT_EQ(spanish(text, {gloss(u"el", u"the"), gloss(u"el", u"the"), gloss(u"el", u"it")}),
              (QList<Segment>{glossed(0, 2, u"the"), plain(3, 8), plain(9, 10),
                              glossed(11, 13, u"the"), plain(14, 18)}));
    // A gloss whose word lies before the cursor is lost; the word comes out plain.
    EXPECT_EQ(spanish(text, {gloss(u"gato", u"cat"), gloss(u"perro", u"dog")}),
              (QList<Segment>{plain(0, 2), plain(3, 8), plain(9, 10), plain(11, 13),
                              glossed(14, 18, u"cat")}));
}

TEST(Segments, TheSearchIsLiteral) {
    // No case folding, no normalisation: "é" as e plus an accent is not the precomposed "é".
    EXPECT_EQ(spanish(QStringLiteral("el perro"), {gloss(u"Perro", u"dog")}),
              (QList<Segment>{plain(0, 2), plain(3, 8)}));
    EXPECT_EQ(spanish(QStringLiteral("café"), {gloss(u"cafe\u0301", u"coffee")}),
              (QList<Segment>{plain(0, 4)}));
    // An empty word cannot be placed, and it does not stop the next gloss.
    EXPECT_EQ(spanish(QStringLiteral("sí"), {gloss(u"", u"?"), gloss(u"sí", u"yes")}),
              (QList<Segment>{glossed(0, 2, u"yes")}));
    // A gloss inside a longer word still lands there: the search is for text, not words.
    EXPECT_EQ(spanish(QStringLiteral("gatos"), {gloss(u"gato", u"cat")}),
              (QList<Segment>{glossed(0, 4, u"cat"), plain(4, 5)}));
}

TEST(Segments, EachGapIsBrokenOnItsOwn) {
    QStringList gaps;
    const Segments::BreakWords recording = [&gaps](const QString& gap) {
        gaps.append(gap);
        return WordBreaks::ranges(gap, QStringLiteral("Spanish"));
    };
    const QList<Segment> segments =
        Segments::build(QStringLiteral("el perro y el gato"),
                        {gloss(u"perro", u"dog"), gloss(u"gato", u"cat")}, recording);
    EXPECT_EQ(gaps, (QStringList{QStringLiteral("el "), QStringLiteral(" y el ")}));
    EXPECT_EQ(segments, (QList<Segment>{plain(0, 2), glossed(3, 8, u"dog"), plain(9, 10),
                                        plain(11, 13), glossed(14, 18, u"cat")}));
}

TEST(Segments, UntrustworthyBreakFunctionsCannotBreakTheBuild) {
    const QString text = QStringLiteral("uno dos");
    const Segments::BreakWords wild = [](const QString& gap) {
        return QList<TextRange>{{-1, 3}, {0, 99}, {qint64(gap.size()), 1}, {1, 0}, {0, 3}};
    };
    EXPECT_EQ(Segments::build(text, {gloss(u"dos", u"two")}, wild),
              (QList<Segment>{plain(0, 3), glossed(4, 7, u"two")}));
    EXPECT_EQ(Segments::build(text, {gloss(u"dos", u"two")}, {}),
              (QList<Segment>{glossed(4, 7, u"two")}));
}

TEST(Segments, OffsetsCountUtf16Units) {
    // Gothic letters lie outside the Basic Multilingual Plane: two units each.
    const QString hails = QStringLiteral("\U00010337\U00010330\U00010339\U0001033B\U00010343");
    const QString text = QStringLiteral("\U0001F44B ") + hails + QStringLiteral(" amigo");
    EXPECT_EQ(spanish(text, {{hails, QStringLiteral("hello")}}),
              (QList<Segment>{glossed(3, 13, u"hello"), plain(14, 19)}));
}

TEST(Segments, AtFindsTheSegmentUnderAnOffset) {
    const QList<Segment> segments = spanish(QStringLiteral("el perro"), {gloss(u"perro", u"dog")});
    EXPECT_EQ(Segments::at(segments, 0), plain(0, 2));
    EXPECT_EQ(Segments::at(segments, 1), plain(0, 2));
    EXPECT_EQ(Segments::at(segments, 2), std::nullopt); // the space
    EXPECT_EQ(Segments::at(segments, 3), glossed(3, 8, u"dog"));
    EXPECT_EQ(Segments::at(segments, 7), glossed(3, 8, u"dog"));
    EXPECT_EQ(Segments::at(segments, 8), std::nullopt); // the text's length
    EXPECT_EQ(Segments::at(segments, -1), std::nullopt);
    EXPECT_EQ(Segments::at({}, 0), std::nullopt);
    // Touching segments: an end offset belongs to the next one.
    EXPECT_EQ(Segments::at({plain(0, 2), plain(2, 4)}, 2), plain(2, 4));
}
