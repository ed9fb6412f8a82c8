// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"
#include "model/Meaning.h"

#include <QCoroTask>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace quillo {

// Why a translation gave nothing.
enum class FreeTranslatorError {
    Unavailable,   // an answer that was not HTTP 2xx
    Unreadable,    // a batch answer of the wrong shape or size
    NoTranslation, // a lookup answer without a usable translation, or echoing the input
};

// A failure of the translator: one of its own, or the network's as the network reported it.
struct TranslationFailure {
    std::optional<FreeTranslatorError> error; // absent: the network failed
    QString network;                          // the network's description, when it failed

    // For logs: "translation unavailable", "translation unreadable", "no translation", or
    // "network: <description>".
    QString description() const;

    friend bool operator==(const TranslationFailure&, const TranslationFailure&) = default;
};

template <typename T>
using TranslationResult = Result<T, TranslationFailure>;

// Glosses and meanings from the public, keyless web translation endpoints. One instance is
// shared; calls may overlap, and each owns what it needs, so one in flight finishes cleanly even
// when this object is gone.
class FreeTranslator {
public:
    // The two endpoints' origins: the public hosts, or both replaced by QUILLO_TRANSLATE_URL's
    // scheme, host and port when it is set.
    struct Origins {
        QUrl lookup; // answers /translate_a/single
        QUrl batch;  // answers /translate_a/t

        static Origins fromEnvironment();
    };

    explicit FreeTranslator(Origins origins = Origins::fromEnvironment(),
                            std::chrono::milliseconds silenceLimit = std::chrono::seconds(8));
    ~FreeTranslator();

    // The endpoints' code for a language name ("Hebrew" -> "iw"), a two-letter code given
    // directly, or nothing.
    static std::optional<QString> languageCode(const QString& name);

    // The meaning of a word or passage, with up to three alternatives.
    QCoro::Task<TranslationResult<Meaning>> lookup(QString text, QString from, QString to) const;

    // One translation per text, in order.
    QCoro::Task<TranslationResult<QStringList>> translateMany(QStringList texts, QString from,
                                                              QString to) const;

    // The pieces, exposed for tests and the fuzzer.
    static QByteArray batchBody(const QStringList& texts);
    static std::optional<Meaning> parseLookup(const QByteArray& body, const QString& text);
    static std::optional<QStringList> parseBatch(const QByteArray& body, qsizetype expected);

private:
    Origins m_origins;
    std::chrono::milliseconds m_silenceLimit;
    std::shared_ptr<QNetworkAccessManager> m_network;
};

} // namespace quillo
