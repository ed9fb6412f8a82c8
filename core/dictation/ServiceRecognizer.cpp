// SPDX-License-Identifier: Apache-2.0
#include "ServiceRecognizer.h"

#include "WavFile.h"
#include "common/LogCategories.h"
#include "service/QuilloAPI.h"
#include "service/ServiceStatus.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMutex>

namespace quillo {

namespace {

// Speech models of the common open family know these languages, by ISO 639-1 code.
constexpr const char* spokenCodes[] = {
    "af", "am", "ar", "as", "az", "ba", "be", "bg", "bn", "bo", "br", "bs", "ca", "cs",
    "cy", "da", "de", "el", "en", "es", "et", "eu", "fa", "fi", "fo", "fr", "gl", "gu",
    "ha", "he", "hi", "hr", "ht", "hu", "hy", "id", "is", "it", "ja", "jv", "ka", "kk",
    "km", "kn", "ko", "la", "lb", "ln", "lo", "lt", "lv", "mg", "mi", "mk", "ml", "mn",
    "mr", "ms", "mt", "my", "ne", "nl", "nn", "no", "oc", "pa", "pl", "ps", "pt", "ro",
    "ru", "sa", "sd", "si", "sk", "sl", "sn", "so", "sq", "sr", "su", "sv", "sw", "ta",
    "te", "tg", "th", "tk", "tl", "tr", "tt", "uk", "ur", "uz", "vi", "yi", "yo", "zh"};

// One recording on its way to the service. Audio arrives on the audio thread; sending and
// results happen on the main thread, where a queued call hands the work over.
class ServiceRecognition final : public Recognition,
                                 public std::enable_shared_from_this<ServiceRecognition> {
public:
    ServiceRecognition(const QuilloAPI& api, QString token, QString language,
                       Recognizer::Handler handler)
        : m_api(api)
        , m_token(std::move(token))
        , m_language(std::move(language))
        , m_handler(std::move(handler)) {}

    void append(const AudioBuffer& buffer) override {
        QMutexLocker locker(&m_lock);
        if (m_ended || m_cancelled)
            return;
        m_samples.append(buffer.samples);
        const qsizetype frames = m_samples.size() / 2;
        if (frames - m_partialAt < ServiceRecognizer::partialEveryFrames || m_partialQueued)
            return;
        m_partialQueued = true;
        onMainThread([](ServiceRecognition& self) { self.sendPartial(); });
    }

    void endAudio() override {
        QMutexLocker locker(&m_lock);
        if (m_ended || m_cancelled)
            return;
        m_ended = true;
        onMainThread([](ServiceRecognition& self) { self.sendFinal(); });
    }

    void cancel() override {
        QMutexLocker locker(&m_lock);
        m_cancelled = true;
    }

private:
    void onMainThread(void (*work)(ServiceRecognition&)) {
        const std::weak_ptr<ServiceRecognition> weak = weak_from_this();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [weak, work] {
                if (const auto self = weak.lock())
                    work(*self);
            },
            Qt::QueuedConnection);
    }

    // Under the lock: the recording so far, or nothing when this recognition is over.
    std::optional<QByteArray> snapshot(bool final) {
        QMutexLocker locker(&m_lock);
        if (!final)
            m_partialQueued = false;
        if (m_cancelled || (!final && (m_ended || m_partialInFlight)))
            return std::nullopt;
        if (!final) {
            m_partialInFlight = true;
            m_partialAt = m_samples.size() / 2;
        }
        return m_samples;
    }

    void sendPartial() {
        if (const std::optional<QByteArray> samples = snapshot(false))
            transcribe(shared_from_this(), *samples, false);
    }

    void sendFinal() {
        const std::optional<QByteArray> samples = snapshot(true);
        if (!samples)
            return;
        if (samples->isEmpty()) {
            deliver({QString(), true, false}, true);
            return;
        }
        transcribe(shared_from_this(), *samples, true);
    }

    // Partial answers that come back after the audio ended are dropped: the final one is on
    // its way and says more.
    void deliver(const RecognitionResult& result, bool final) {
        {
            QMutexLocker locker(&m_lock);
            if (!final)
                m_partialInFlight = false;
            if (m_cancelled || (!final && m_ended))
                return;
            if (final)
                m_cancelled = true; // nothing after the final word
        }
        m_handler(result);
    }

    static QCoro::Task<> transcribe(std::shared_ptr<ServiceRecognition> self, QByteArray samples,
                                    bool final) {
        auto call = self->m_api.transcribe(self->m_token, wav::encode(samples), self->m_language);
        const ApiResult<QString> heard = co_await call;
        if (heard) {
            self->deliver({*heard, final, false}, final);
            co_return;
        }
        qCInfo(lcDictation) << "transcription failed:" << heard.error().description();
        // A missed partial result is made up by the next one, unless asking again cannot help
        // (no speech model behind the service, a refused session): then the recognition ends
        // at once rather than when the user finishes. A missed final one ends it too.
        if (final)
            self->deliver({QString(), false, true}, true);
        else if (!heard.error().isRetryable() ||
                 statusOf(heard.error()) == ServiceStatus::Unavailable)
            self->partialFailedForGood();
        else
            self->partialMissed();
    }

    void partialMissed() {
        QMutexLocker locker(&m_lock);
        m_partialInFlight = false;
    }

    // Once the user has finished, the final answer decides instead.
    void partialFailedForGood() {
        {
            QMutexLocker locker(&m_lock);
            m_partialInFlight = false;
            if (m_cancelled || m_ended)
                return;
            m_cancelled = true;
        }
        m_handler({QString(), false, true});
    }

    const QuilloAPI& m_api;
    const QString m_token;
    const QString m_language;
    const Recognizer::Handler m_handler;

    QMutex m_lock;
    QByteArray m_samples;
    qsizetype m_partialAt = 0;
    bool m_partialQueued = false;
    bool m_partialInFlight = false;
    bool m_ended = false;
    bool m_cancelled = false;
};

} // namespace

ServiceRecognizer::ServiceRecognizer(const QuilloAPI& api, TokenSource token)
    : m_api(api)
    , m_token(std::move(token)) {}

QList<QLocale> ServiceRecognizer::supportedLocales() const {
    QList<QLocale> locales;
    for (const char* code : spokenCodes) {
        const QLocale locale(QString::fromLatin1(code));
        if (locale.language() != QLocale::C)
            locales.append(locale);
    }
    return locales;
}

bool ServiceRecognizer::isAvailable(const QLocale&) const {
    return m_token && m_token().has_value();
}

std::shared_ptr<Recognition> ServiceRecognizer::recognize(const QLocale& locale, Handler handler) {
    const std::optional<QString> token = m_token ? m_token() : std::nullopt;
    if (!token)
        return nullptr;
    return std::make_shared<ServiceRecognition>(
        m_api, *token, QLocale::languageToCode(locale.language()), std::move(handler));
}

} // namespace quillo
