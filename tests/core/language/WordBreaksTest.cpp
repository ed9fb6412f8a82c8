// SPDX-License-Identifier: Apache-2.0
#include "language/WordBreaks.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace quillo;

namespace {

QString gothicWord() {
    return QStringLiteral("\U00010337\U00010330\U00010339\U0001033B\U00010343"); // hails
}

} // namespace

TEST(WordBreaks, RangesKeepPunctuationButNeverWhitespace) {
    const QString text = QStringLiteral("Hola, ¿cómo  estás?\n");
    EXPECT_EQ(WordBreaks::ranges(text, QStringLiteral("Spanish")),
              (QList<TextRange>{{0, 4}, {4, 1}, {6, 1}, {7, 4}, {13, 5}, {18, 1}}));
    EXPECT_EQ(
        WordBreaks::words(text, QStringLiteral("Spanish")),
        (QStringList{QStringLiteral("Hola"), QStringLiteral("cómo"), QStringLiteral("estás")}));
}

TEST(WordBreaks, WordsKeepNumbersAndRepeats) {
    EXPECT_EQ(WordBreaks::words(QStringLiteral("el 2 y el 2 ... ٣"), QStringLiteral("Spanish")),
              (QStringList{QStringLiteral("el"), QStringLiteral("2"), QStringLiteral("y"),
                           QStringLiteral("el"), QStringLiteral("2"), QStringLiteral("٣")}));
}

TEST(WordBreaks, NothingToCutGivesNothing) {
    EXPECT_TRUE(WordBreaks::ranges(QString(), QStringLiteral("Japanese")).isEmpty());
    EXPECT_TRUE(WordBreaks::ranges(QStringLiteral(" \n\t\u3000 "), QString()).isEmpty());
    EXPECT_FALSE(WordBreaks::ranges(QStringLiteral("¡¿?!"), QString()).isEmpty());
    EXPECT_TRUE(WordBreaks::words(QStringLiteral("¡¿?! …"), QString()).isEmpty());
}

TEST(WordBreaks, TextsWithoutSpacesAreSplitByDictionary) {
    const QString japanese = QStringLiteral("私は東京に住んでいます");
    const QStringList japaneseWords = WordBreaks::words(japanese, QStringLiteral("Japanese"));
    EXPECT_GE(japaneseWords.size(), 4) << japaneseWords.join(u'|').toStdString();
    EXPECT_TRUE(japaneseWords.contains(QStringLiteral("東京")));
    EXPECT_EQ(japaneseWords.join(QString()), japanese);

    EXPECT_EQ(WordBreaks::words(QStringLiteral("我喜欢喝咖啡。"), QStringLiteral("Mandarin")),
              (QStringList{QStringLiteral("我"), QStringLiteral("喜欢"), QStringLiteral("喝"),
                           QStringLiteral("咖啡")}));
    // Traditional characters still go through the one Chinese hint.
    EXPECT_EQ(WordBreaks::words(QStringLiteral("我喜歡咖啡"), QStringLiteral("Chinese")),
              (QStringList{QStringLiteral("我"), QStringLiteral("喜歡"), QStringLiteral("咖啡")}));
    EXPECT_EQ(WordBreaks::words(QStringLiteral("ฉันชอบกินข้าว"), QStringLiteral(" thai ")),
              (QStringList{QStringLiteral("ฉัน"), QStringLiteral("ชอบ"), QStringLiteral("กิน"),
                           QStringLiteral("ข้าว")}));
    EXPECT_EQ(
        WordBreaks::words(QStringLiteral("Привет, как дела?"), QStringLiteral("Russian")),
        (QStringList{QStringLiteral("Привет"), QStringLiteral("как"), QStringLiteral("дела")}));
}

TEST(WordBreaks, CharactersOutsideTheBasicPlaneCountTwoUnits) {
    const QString text = gothicWord() + QStringLiteral(" \U0001F355 friend");
    EXPECT_EQ(WordBreaks::ranges(text, QStringLiteral("English")),
              (QList<TextRange>{{0, 10}, {11, 2}, {14, 6}}));
    EXPECT_EQ(WordBreaks::words(text, QStringLiteral("English")),
              (QStringList{gothicWord(), QStringLiteral("friend")}));
}

TEST(WordBreaks, LetterOrNumberLooksAtCodePoints) {
    EXPECT_TRUE(WordBreaks::hasLetterOrNumber(u"¿a?"));
    EXPECT_TRUE(WordBreaks::hasLetterOrNumber(u"٣"));
    EXPECT_TRUE(WordBreaks::hasLetterOrNumber(u"\U00010330"));  // Gothic letter, a surrogate pair
    EXPECT_TRUE(WordBreaks::hasLetterOrNumber(u"\U0001D7D9"));  // mathematical digit one
    EXPECT_FALSE(WordBreaks::hasLetterOrNumber(u"\U0001F355")); // pizza
    EXPECT_FALSE(WordBreaks::hasLetterOrNumber(u"\u0301-…"));   // a lone accent, dash, ellipsis
    EXPECT_FALSE(WordBreaks::hasLetterOrNumber(QString(1, QChar(0xD800))));
    EXPECT_FALSE(WordBreaks::hasLetterOrNumber(QStringView()));
}

TEST(WordBreaks, ThreadsSplittingAtOnceAgreeWithOneThread) {
    const QList<std::pair<QString, QString>> samples{
        {QStringLiteral("私は東京に住んでいます"), QStringLiteral("Japanese")},
        {QStringLiteral("我喜欢喝咖啡"), QStringLiteral("Chinese")},
        {QStringLiteral("Hola, ¿cómo estás?"), QStringLiteral("Spanish")},
    };
    std::vector<QStringList> expected;
    for (const auto& [text, language] : samples)
        expected.push_back(WordBreaks::words(text, language));

    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < mismatches.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 200; ++round) {
                const size_t i = (t + size_t(round)) % size_t(samples.size());
                if (WordBreaks::words(samples[qsizetype(i)].first, samples[qsizetype(i)].second) !=
                    expected[i])
                    ++mismatches[t];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}
