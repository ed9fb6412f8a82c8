// SPDX-License-Identifier: Apache-2.0
#include "Dictation.h"

#include "AudioSource.h"
#include "Recognizer.h"
#include "SpeechLocale.h"
#include "common/Clock.h"
#include "common/LogCategories.h"

#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>

namespace quillo {

namespace {

const QString notAllowedLine = QStringLiteral(
    "Allow the microphone and speech recognition for Quillo in System Settings to talk instead of "
    "typing.");
const QString microphoneLine = QStringLiteral("The microphone didn't start. Try again.");

QString cannotListenLine(const QString& language) {
    return QStringLiteral("This computer can't listen in ") + language +
           QStringLiteral(" right now.");
}

} // namespace

Dictation::Dictation(AudioSource& source, Recognizer& recognizer, const Clock& clock,
                     QObject* parent)
    : QObject(parent)
    , m_source(source)
    , m_recognizer(recognizer)
    , m_clock(clock)
    , m_levels(barCount, 0.0f) {}

Dictation::~Dictation() {
    m_lifetime.end();
    stop();
}

void Dictation::start(const QString& language) {
    if (!m_source.available()) {
        report(notAllowedLine);
        return;
    }
    // The last dictation's finish gets its own words before this one clears them.
    deliver();
    m_committed.clear();
    setText({});
    m_levels = QList<float>(barCount, 0.0f);
    Q_EMIT levelsChanged();
    setActive(true);
    listen(language);
}

void Dictation::listen(const QString& language) {
    if (m_task)
        std::exchange(m_task, nullptr)->cancel();
    if (m_language != language) {
        m_language = language;
        Q_EMIT languageChanged();
    }
    const std::optional<QLocale> locale = speechLocale(language, m_recognizer.supportedLocales());
    const int round = ++m_round;
    const QString committed = m_committed;
    const QPointer<Dictation> self(this);
    if (locale && m_recognizer.isAvailable(*locale))
        m_task = m_recognizer.recognize(
            *locale, [self, round, committed, language](const RecognitionResult& result) {
                if (self)
                    self->handle(result, round, committed, language);
            });
    if (!m_task) {
        report(cannotListenLine(language));
        stop();
        return;
    }
    m_feed->setCurrent(m_task);
    startAudio();
}

void Dictation::handle(const RecognitionResult& result, int round, const QString& committed,
                       const QString& language) {
    if (round != m_round)
        return; // a cancelled round's late word
    QStringList parts;
    for (const QString& part : {committed, result.isError ? QString() : result.transcript})
        if (!part.isEmpty())
            parts.append(part);
    const QString joined = parts.join(u' ');
    setText(joined);
    if (!result.isFinal && !result.isError)
        return;
    if (m_finishing) {
        deliver();
        return;
    }
    if (result.isError) {
        // The recogniser gave up while the user was talking: the settled rounds stay on
        // screen for the owner to keep, and listening ends rather than failing again at once.
        stop();
        report(cannotListenLine(language));
        return;
    }
    m_committed = joined;
    listen(language);
}

void Dictation::startAudio() {
    if (m_source.isRunning())
        return;
    const std::weak_ptr<AudioFeed> feed = m_feed;
    const QPointer<Dictation> self(this);
    const std::optional<QString> failed = m_source.start([feed, self](const AudioBuffer& buffer) {
        if (const auto current = feed.lock())
            current->append(buffer);
        const float level = audioLevel(buffer);
        QMetaObject::invokeMethod(
            self.data(),
            [self, level] {
                if (self)
                    self->hear(level);
            },
            Qt::QueuedConnection);
    });
    if (!failed)
        return;
    qCWarning(lcDictation, "Microphone didn't start: %s", qUtf8Printable(*failed));
    report(microphoneLine);
    stop();
}

void Dictation::hear(float level) {
    m_loudest = std::max(m_loudest, level);
    const qint64 now = m_clock.nowMillis();
    if (now - m_lastBarAt < barIntervalMillis)
        return;
    m_lastBarAt = now;
    const float last = m_levels.isEmpty() ? 0.0f : m_levels.constLast();
    if (!m_levels.isEmpty())
        m_levels.removeFirst();
    m_levels.append(last + (m_loudest - last) * 0.6f);
    Q_EMIT levelsChanged();
    m_loudest = 0;
}

void Dictation::finish(std::function<void(const QString&)> then) {
    if (!m_active) {
        then(m_text);
        return;
    }
    m_finishing = std::move(then);
    m_feed->endAudio();
    if (m_source.isRunning())
        m_source.stop();
    deliverLater(++m_finishes);
}

QCoro::Task<> Dictation::deliverLater(int finishNumber) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto waiting = m_clock.sleep(finishFallbackMillis);
    co_await waiting;
    if (!alive.ended() && finishNumber == m_finishes)
        deliver();
}

void Dictation::deliver() {
    if (!m_finishing)
        return;
    const auto then = std::exchange(m_finishing, nullptr);
    then(m_text.trimmed());
}

void Dictation::stop() {
    ++m_round;
    // A finish still waiting is left to its fallback: the last words the user asked for arrive
    // even when the owner tears listening down before the recogniser settles.
    if (m_source.isRunning())
        m_source.stop();
    m_feed->endAudio();
    m_feed->setCurrent(nullptr);
    if (m_task)
        std::exchange(m_task, nullptr)->cancel();
    setActive(false);
}

void Dictation::report(const QString& line) {
    if (onProblem)
        onProblem(line);
    Q_EMIT problem(line);
}

void Dictation::setActive(bool active) {
    if (m_active == active)
        return;
    m_active = active;
    Q_EMIT activeChanged();
}

void Dictation::setText(const QString& text) {
    if (m_text == text)
        return;
    m_text = text;
    Q_EMIT textChanged();
}

} // namespace quillo
