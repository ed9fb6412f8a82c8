// SPDX-License-Identifier: Apache-2.0
#include "language/Romanizer.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace quillo;

namespace {

std::optional<QString> romanize(const char16_t* text, const char16_t* language) {
    return Romanizer::romanize(QString::fromUtf16(text), QString::fromUtf16(language));
}

} // namespace

TEST(Romanizer, CyrillicTakesTheBgnSpellings) {
    EXPECT_EQ(romanize(u"привет", u"Russian"), u"privet");
    EXPECT_EQ(romanize(u"  Как дела?\n", u"russian"), u"Kak dela?");
    EXPECT_EQ(romanize(u"Київ", u"Ukrainian"), u"Kyyiv");
    EXPECT_EQ(romanize(u"щастие", u"Bulgarian"), u"shtastie");
}

TEST(Romanizer, OtherScriptsGoThroughAnyToLatin) {
    EXPECT_EQ(romanize(u"你好", u"Mandarin Chinese"), u"nǐ hǎo");
    EXPECT_EQ(romanize(u"안녕하세요", u"Korean"), u"annyeonghaseyo");
    EXPECT_EQ(romanize(u"Καλημέρα", u"Greek"), u"Kalēméra");
}

TEST(Romanizer, JapaneseReadsKanaOnly) {
    EXPECT_EQ(romanize(u"ありがとう", u"Japanese"), u"arigatou");
    EXPECT_EQ(romanize(u"コーヒー", u"Japanese"), u"kōhī");
    // The kana transforms leave kanji, and a reading with ideographs left in is no reading.
    EXPECT_EQ(romanize(u"日本", u"Japanese"), std::nullopt);
    EXPECT_EQ(romanize(u"日本語です", u"Japanese"), std::nullopt);
    // Extension B ideographs sit outside the Basic Multilingual Plane.
    EXPECT_EQ(romanize(u"\U00020B9Fです", u"Japanese"), std::nullopt);
}

TEST(Romanizer, UnhelpfulResultsGiveNoReading) {
    EXPECT_EQ(romanize(u"hello", u"Russian"), std::nullopt);
    EXPECT_EQ(romanize(u" hello ", u"Russian"), std::nullopt); // equal once both are trimmed
    EXPECT_EQ(romanize(u"2024", u"Chinese"), std::nullopt);
    EXPECT_EQ(romanize(u"   ", u"Russian"), std::nullopt);
    EXPECT_EQ(romanize(u"", u"Greek"), std::nullopt);
    EXPECT_EQ(romanize(u"\U0001F355", u"Thai"), std::nullopt);
}

TEST(Romanizer, LanguagesWithoutReadingsAreLeftAlone) {
    EXPECT_EQ(romanize(u"привет", u"Spanish"), std::nullopt);
    EXPECT_EQ(romanize(u"你好", u"Cantonese"), std::nullopt);
    EXPECT_EQ(romanize(u"你好", u""), std::nullopt);
}

TEST(Romanizer, ThreadsRomanizingAtOnceAgreeWithOneThread) {
    const std::vector<std::pair<QString, QString>> samples{
        {QStringLiteral("привет"), QStringLiteral("Russian")},
        {QStringLiteral("你好"), QStringLiteral("Chinese")},
        {QStringLiteral("ありがとう"), QStringLiteral("Japanese")},
    };
    std::vector<std::optional<QString>> expected;
    for (const auto& [text, language] : samples)
        expected.push_back(Romanizer::romanize(text, language));

    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < mismatches.size(); ++t) {
        threads.emplace_back([&, t] {
            for (size_t round = 0; round < 60; ++round) {
                const size_t i = (t + round) % samples.size();
                if (Romanizer::romanize(samples[i].first, samples[i].second) != expected[i])
                    ++mismatches[t];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}
