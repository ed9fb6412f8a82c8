// SPDX-License-Identifier: Apache-2.0
#include "models/CorrectionMarks.h"

#include <gtest/gtest.h>

using namespace quillo;
using Change = CorrectionMark::Change;

namespace {

QString joined(const QList<CorrectionMark>& marks, Change change) {
    QStringList texts;
    for (const CorrectionMark& mark : marks) {
        if (mark.change == change)
            texts.append(mark.text);
    }
    return texts.join(u'|');
}

// What the user wrote is the kept and removed marks in order; the correction is the kept and
// added ones: nothing is lost or made up whatever the words.
QString rebuilt(const QList<CorrectionMark>& marks, Change other) {
    QStringList words;
    for (const CorrectionMark& mark : marks) {
        if (mark.change == Change::Kept || mark.change == other)
            words.append(mark.text);
    }
    return words.join(u' ');
}

TEST(CorrectionMarks, ReplacedWordsAreRemovedThenAddedAndTheRestKept) {
    const QList<CorrectionMark> marks =
        correctionMarks(QStringLiteral("Estoy hambre y quiero comer."),
                        QStringLiteral("Tengo hambre y quiero comer."));
    EXPECT_EQ(marks,
              (QList<CorrectionMark>{{QStringLiteral("Estoy"), Change::Removed},
                                     {QStringLiteral("Tengo"), Change::Added},
                                     {QStringLiteral("hambre y quiero comer."), Change::Kept}}));

    // A word added in the middle, one dropped at the end, punctuation counting as part of a word.
    const QList<CorrectionMark> more = correctionMarks(
        QStringLiteral("Ayer yo fui a playa, muy muy"), QStringLiteral("Ayer fui a la playa."));
    EXPECT_EQ(joined(more, Change::Removed), QStringLiteral("yo|playa, muy muy"));
    EXPECT_EQ(joined(more, Change::Added), QStringLiteral("la playa."));
}

TEST(CorrectionMarks, EveryWordIsAccountedForOnBothSides) {
    const QString written = QStringLiteral("  Me gusta   mucho los perros\nque  ladran ");
    const QString corrected = QStringLiteral("Me gustan mucho los perros que ladran.");
    const QList<CorrectionMark> marks = correctionMarks(written, corrected);
    EXPECT_EQ(rebuilt(marks, Change::Removed), written.simplified());
    EXPECT_EQ(rebuilt(marks, Change::Added), corrected);
    // Same text: one kept run; empty sides: nothing or only additions.
    EXPECT_EQ(correctionMarks(corrected, corrected).size(), 1);
    EXPECT_TRUE(correctionMarks({}, {}).isEmpty());
    EXPECT_EQ(joined(correctionMarks({}, QStringLiteral("Hola")), Change::Added), u"Hola");
}

TEST(CorrectionMarks, AVeryLongMessageIsMarkedAsReplacedWhole) {
    QStringList words;
    for (int i = 0; i < 400; ++i)
        words.append(QString::number(i));
    const QString written = words.join(u' ');
    const QList<CorrectionMark> marks = correctionMarks(written, written + QStringLiteral(" fin"));
    ASSERT_EQ(marks.size(), 2);
    EXPECT_EQ(marks[0].change, Change::Removed);
    EXPECT_EQ(marks[1].text, written + QStringLiteral(" fin"));
}

} // namespace
