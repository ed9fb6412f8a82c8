// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioFeed.h"
#include "common/Lifetime.h"

#include <QList>
#include <QObject>
#include <QString>

#include <QCoro/QCoroTask>

#include <functional>
#include <limits>
#include <memory>

namespace quillo {

class AudioSource;
class Clock;
class Recognition;
class Recognizer;
struct RecognitionResult;

// Talking instead of typing: listens to the audio source, streams it to the recogniser in the
// chosen language, publishes the running transcript and a level meter, and hands the final text
// over when the user finishes. Recognition runs in rounds: when the recogniser settles on a final
// result while the user is still talking, that text is kept and a new round starts, so a long
// dictation carries on across them. Lives on the main thread; only the audio tap runs elsewhere.
class Dictation : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(QString language READ language NOTIFY languageChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(QList<float> levels READ levels NOTIFY levelsChanged)

public:
    static constexpr int barCount = 28;
    static constexpr qint64 barIntervalMillis = 140;
    // How long a finish waits for the recogniser's final result before taking what it has.
    static constexpr qint64 finishFallbackMillis = 1500;

    Dictation(AudioSource& source, Recognizer& recognizer, const Clock& clock,
              QObject* parent = nullptr);
    ~Dictation() override;

    bool active() const { return m_active; }
    const QString& language() const { return m_language; }
    const QString& text() const { return m_text; }
    const QList<float>& levels() const { return m_levels; }

    // Shows a problem to the user; without one, problems go to `problem` only.
    std::function<void(const QString&)> onProblem;

    // Begins listening for a language name ("Spanish").
    Q_INVOKABLE void start(const QString& language);
    // The user is done: `then` gets the trimmed final transcript, once.
    void finish(std::function<void(const QString&)> then);
    // Tears everything down; late results change nothing. A finish already asked for still
    // delivers the transcript of the moment when its fallback comes.
    Q_INVOKABLE void stop();

    // Feeds one level reading to the meter (the tap does, for every buffer).
    void hear(float level);

Q_SIGNALS:
    void activeChanged();
    void languageChanged();
    void textChanged();
    void levelsChanged();
    void problem(const QString& line);

private:
    void listen(const QString& language);
    void handle(const RecognitionResult& result, int round, const QString& committed,
                const QString& language);
    void startAudio();
    void deliver();
    QCoro::Task<> deliverLater(int finishNumber);
    void report(const QString& line);
    void setActive(bool active);
    void setText(const QString& text);

    AudioSource& m_source;
    Recognizer& m_recognizer;
    const Clock& m_clock;
    std::shared_ptr<AudioFeed> m_feed = std::make_shared<AudioFeed>();
    std::shared_ptr<Recognition> m_task;
    Lifetime m_lifetime;

    bool m_active = false;
    QString m_language;
    QString m_text;
    QList<float> m_levels;
    QString m_committed;
    int m_round = 0;
    std::function<void(const QString&)> m_finishing;
    int m_finishes = 0;
    float m_loudest = 0;
    qint64 m_lastBarAt = std::numeric_limits<qint64>::min() / 2;
};

} // namespace quillo
