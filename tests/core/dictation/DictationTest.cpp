// SPDX-License-Identifier: Apache-2.0
#include "dictation/Dictation.h"
#include "common/Clock.h"
#include "dictation/Recognizer.h"
#include "dictation/WavFileSource.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace quillo;

namespace {

// A recogniser whose results the test writes: every round's recognition is kept, with what it
// was fed, and the test answers through any of them, the stale ones included.
class ScriptedRecognizer final : public Recognizer {
public:
    struct Round final : Recognition {
        Handler handler;
        QLocale locale;
        qsizetype frames = 0;
        bool ended = false;
        bool cancelled = false;
        void append(const AudioBuffer& buffer) override { frames += buffer.frames(); }
        void endAudio() override { ended = true; }
        void cancel() override { cancelled = true; }
        void say(const QString& text, bool final = false) { handler({text, final, false}); }
    };

    QList<std::shared_ptr<Round>> rounds;

    QList<QLocale> supportedLocales() const override {
        return {QLocale(u"es_ES"_qs), QLocale(u"ru_RU"_qs)};
    }
    bool isAvailable(const QLocale&) const override { return true; }
    std::shared_ptr<Recognition> recognize(const QLocale& locale, Handler handler) override {
        auto round = std::make_shared<Round>();
        round->handler = std::move(handler);
        round->locale = locale;
        rounds.append(round);
        return round;
    }
};

// A microphone that is there but will not open, or is not there at all.
class BrokenMicrophone final : public AudioSource {
public:
    bool present = true;
    bool available() const override { return present; }
    std::optional<QString> start(Tap) override { return QStringLiteral("device busy"); }
    void stop() override {}
    bool isRunning() const override { return false; }
};

class DictationTest : public ::testing::Test {
protected:
    ManualClock clock;
    WavFileSource speech{QByteArray(16'000 * 2, '\x10')};
    ScriptedRecognizer recognizer;
    Dictation dictation{speech, recognizer, clock};
    QStringList problems;

    void SetUp() override {
        dictation.onProblem = [this](const QString& line) { problems.append(line); };
    }
    ScriptedRecognizer::Round& round(qsizetype i) { return *recognizer.rounds.at(i); }
    void playAll() {
        while (speech.isRunning())
            QCoreApplication::processEvents();
        QCoreApplication::processEvents(); // the levels, posted to this thread
    }
};

} // namespace

TEST_F(DictationTest, RoundsFollowFinalResultsAndKeepWhatWasSaid) {
    dictation.start(u"Spanish"_qs);
    ASSERT_TRUE(dictation.active());
    EXPECT_EQ(dictation.language(), u"Spanish");
    EXPECT_EQ(dictation.levels(), QList<float>(Dictation::barCount, 0.0f));
    ASSERT_EQ(recognizer.rounds.size(), 1);
    EXPECT_EQ(round(0).locale.name(), u"es_ES");

    round(0).say(u"hola"_qs);
    EXPECT_EQ(dictation.text(), u"hola");
    // The recogniser settles while the user talks on: a new round, the old words kept.
    round(0).say(u"hola, ¿qué tal?"_qs, true);
    ASSERT_EQ(recognizer.rounds.size(), 2);
    EXPECT_TRUE(round(0).cancelled);
    EXPECT_EQ(dictation.text(), u"hola, ¿qué tal?");
    round(1).say(u"muy bien"_qs);
    EXPECT_EQ(dictation.text(), u"hola, ¿qué tal? muy bien");
    // The audio goes to the round of the moment.
    playAll();
    EXPECT_EQ(round(0).frames, 0);
    EXPECT_EQ(round(1).frames, 16'000);

    // A late word from the first round changes nothing.
    round(0).say(u"adiós"_qs, true);
    EXPECT_EQ(dictation.text(), u"hola, ¿qué tal? muy bien");
    EXPECT_EQ(recognizer.rounds.size(), 2);

    // After a stop, nothing the recogniser still says counts.
    dictation.stop();
    EXPECT_TRUE(round(1).cancelled);
    round(1).say(u"muy bien, gracias"_qs, true);
    EXPECT_EQ(dictation.text(), u"hola, ¿qué tal? muy bien");
    EXPECT_EQ(recognizer.rounds.size(), 2);
    EXPECT_FALSE(dictation.active());
    EXPECT_TRUE(problems.isEmpty());
}

TEST_F(DictationTest, FinishingTakesTheFinalResultOrWhatIsThereAfterASecondAndAHalf) {
    QStringList delivered;
    const auto keep = [&delivered](const QString& text) { delivered.append(text); };

    dictation.start(u"Spanish"_qs);
    round(0).say(u" hola "_qs);
    dictation.finish(keep);
    EXPECT_TRUE(round(0).ended) << "the recogniser is told the audio is over";
    EXPECT_FALSE(speech.isRunning());
    round(0).say(u" hola amigos \n"_qs, true);
    EXPECT_EQ(delivered, QStringList{u"hola amigos"_qs});
    clock.advance(Dictation::finishFallbackMillis);
    EXPECT_EQ(delivered.size(), 1) << "delivered once";
    dictation.stop();
    EXPECT_FALSE(dictation.active());

    // No final result comes: the fallback takes the running transcript.
    dictation.start(u"Spanish"_qs);
    round(1).say(u"buenos días"_qs);
    dictation.finish(keep);
    clock.advance(Dictation::finishFallbackMillis - 1);
    EXPECT_EQ(delivered.size(), 1);
    clock.advance(1);
    EXPECT_EQ(delivered.last(), u"buenos días");
    round(1).say(u"buenos días, señor"_qs, true);
    EXPECT_EQ(delivered.size(), 2);
    dictation.stop();

    // Not listening at all: the text of the moment, at once.
    dictation.finish(keep);
    EXPECT_EQ(delivered.size(), 3);
}

TEST_F(DictationTest, AStopWhileFinishingStillDeliversTheWordsHeard) {
    QStringList delivered;
    const auto keep = [&delivered](const QString& text) { delivered.append(text); };

    // The owner tears listening down while the last words are being recognised (the user
    // switched conversation): the stopped round's late result no longer counts, but the
    // fallback hands over what was heard.
    dictation.start(u"Spanish"_qs);
    round(0).say(u"hasta "_qs);
    dictation.finish(keep);
    dictation.stop();
    EXPECT_FALSE(dictation.active());
    EXPECT_TRUE(round(0).cancelled);
    round(0).say(u"hasta luego"_qs, true);
    EXPECT_TRUE(delivered.isEmpty());
    clock.advance(Dictation::finishFallbackMillis);
    EXPECT_EQ(delivered, QStringList{u"hasta"_qs});
    clock.advance(Dictation::finishFallbackMillis);
    EXPECT_EQ(delivered.size(), 1) << "delivered once";

    // Listening starts again before the fallback: the old finish gets its own words then,
    // and neither the new words nor the new finish go to it.
    dictation.start(u"Spanish"_qs);
    round(1).say(u"gracias"_qs);
    dictation.finish(keep);
    dictation.stop();
    dictation.start(u"Spanish"_qs);
    EXPECT_EQ(delivered.last(), u"gracias");
    EXPECT_EQ(dictation.text(), QString());
    ASSERT_TRUE(dictation.active());
    round(2).say(u"de nada"_qs, true);
    clock.advance(Dictation::finishFallbackMillis);
    EXPECT_EQ(delivered.size(), 2);
    EXPECT_TRUE(dictation.active()) << "still listening, its words kept for its own finish";
    dictation.finish(keep);
    round(3).say(u"adiós"_qs, true);
    EXPECT_EQ(delivered.last(), u"de nada adiós");
    EXPECT_EQ(delivered.size(), 3);
}

TEST_F(DictationTest, TheMeterAddsABarAtMostEveryFourteenHundredthsOfASecond) {
    QSignalSpy published(&dictation, &Dictation::levelsChanged);
    dictation.hear(0.5f);
    EXPECT_EQ(published.count(), 1);
    EXPECT_FLOAT_EQ(dictation.levels().constLast(), 0.3f);
    EXPECT_EQ(dictation.levels().size(), Dictation::barCount);

    // Faster than the cadence: no bar, but the loudest reading is kept for the next.
    clock.advance(50);
    dictation.hear(0.9f);
    clock.advance(50);
    dictation.hear(0.1f);
    EXPECT_EQ(published.count(), 1);
    clock.advance(40);
    dictation.hear(0.2f);
    EXPECT_EQ(published.count(), 2);
    EXPECT_FLOAT_EQ(dictation.levels().constLast(), 0.3f + (0.9f - 0.3f) * 0.6f);
    EXPECT_EQ(dictation.levels().size(), Dictation::barCount) << "the oldest bar goes";

    // Listening feeds it: a second of steady sound over virtual time.
    dictation.start(u"Spanish"_qs);
    while (speech.isRunning()) {
        clock.advance(64); // a buffer's worth
        QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    EXPECT_GT(dictation.levels().constLast(), 0.0f);
}

TEST_F(DictationTest, ProblemsAreSaidAndLeaveDictationIdle) {
    dictation.start(u"Klingon"_qs);
    EXPECT_FALSE(dictation.active());
    EXPECT_EQ(problems, QStringList{u"This computer can't listen in Klingon right now."_qs});
    EXPECT_TRUE(recognizer.rounds.isEmpty());

    // The recogniser gives up mid-sentence: the settled rounds stay, listening ends.
    dictation.start(u"Russian"_qs);
    round(0).say(u"привет"_qs, true);
    round(1).say(u"как"_qs);
    round(1).handler({QString(), false, true});
    EXPECT_FALSE(dictation.active());
    EXPECT_EQ(dictation.text(), u"привет");
    EXPECT_EQ(problems.last(), u"This computer can't listen in Russian right now.");

    BrokenMicrophone microphone;
    Dictation broken(microphone, recognizer, clock);
    QSignalSpy said(&broken, &Dictation::problem);
    broken.start(u"Spanish"_qs);
    EXPECT_FALSE(broken.active());
    ASSERT_EQ(said.count(), 1);
    EXPECT_EQ(said.first().first().toString(), u"The microphone didn't start. Try again.");
    microphone.present = false;
    broken.start(u"Spanish"_qs);
    EXPECT_EQ(said.last().first().toString(),
              u"Allow the microphone and speech recognition for Quillo in System Settings to talk "
              "instead of typing.");
}
