// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "dictation/WavFile.h"
#include "upstream/TranscribeClient.h"

#include <algorithm>
#include <optional>

namespace quillo::server {

namespace {

// About two minutes of 16 kHz mono: longer dictations are not what the app records.
constexpr size_t maxAudioBytes = 4 * 1024 * 1024;

bool isLowerLetter(QChar c) {
    return c >= u'a' && c <= u'z';
}

bool isLetterOrDigit(QChar c) {
    return isLowerLetter(c) || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

// "en", "yue", "pt-BR", "es-419": the language of the dictation as the app names it. The speech
// server takes only the language itself, without the region.
std::optional<QString> spokenLanguage(const QString& code) {
    const qsizetype dash = code.indexOf(u'-');
    const QString language = dash < 0 ? code : code.left(dash);
    if (language.size() < 2 || language.size() > 3 ||
        !std::all_of(language.begin(), language.end(), isLowerLetter))
        return std::nullopt;
    if (dash >= 0) {
        const QString region = code.mid(dash + 1);
        if (region.size() < 2 || region.size() > 8 ||
            !std::all_of(region.begin(), region.end(), isLetterOrDigit))
            return std::nullopt;
    }
    return language;
}

void sendTranscribeFailure(HttpResponse& response, const ModelFailure& failure) {
    switch (failure.kind) {
    case ModelFailure::Kind::Busy:
        return sendError(response, 429, QStringLiteral("transcriber busy"));
    case ModelFailure::Kind::Unreachable:
        return sendError(response, 503, QStringLiteral("transcriber unreachable"));
    case ModelFailure::Kind::TimedOut:
        return sendError(response, 504, QStringLiteral("transcriber timed out"));
    case ModelFailure::Kind::Failed:
        break;
    }
    sendError(response, 502, QStringLiteral("transcriber failed"));
}

// Dictation is not a model reply: it needs a session but takes nothing from the daily allowance.
// Neither the audio nor the text it becomes is logged.
boost::asio::awaitable<void> transcribe(const ApiContext& api, const HttpRequest& request,
                                        HttpResponse& response) {
    if (!api.authenticate(request, response))
        co_return;
    if (!api.transcriber.configured()) {
        sendError(response, 503, QStringLiteral("transcription not configured"));
        co_return;
    }
    const QString code =
        QString::fromStdString(request.parameter("language").value_or(std::string()));
    std::optional<QString> language = QString();
    if (!code.isEmpty())
        language = spokenLanguage(code);
    if (!language) {
        sendError(response, 400, QStringLiteral("language: expected a code such as en or pt-BR"));
        co_return;
    }

    QByteArray wav(request.body.data(), qsizetype(request.body.size()));
    // The app's own rules: a speech server is never sent something it would choke on, and the
    // app learns at once that its recorder wrote a bad file.
    if (const auto format = wav::layout(wav); !format) {
        sendError(response, 400, QStringLiteral("audio: ") + format.error());
        co_return;
    }

    QString spoken = *language;
    auto transcription = api.transcriber.transcribe(std::move(wav), std::move(spoken));
    const auto text = co_await std::move(transcription);
    if (!text) {
        qCInfo(lcHttp).noquote() << "transcriber gave no text:" << text.error().detail;
        sendTranscribeFailure(response, text.error());
        co_return;
    }
    sendJson(response, 200, {{QStringLiteral("text"), *text}});
}

} // namespace

void addTranscribeRoutes(Router& router, const ApiContext& api) {
    router.postAsync("/v1/transcribe", BodyRule{maxAudioBytes, false, "audio too large"},
                     [&api](const HttpRequest& request, HttpResponse& response) {
                         return transcribe(api, request, response);
                     });
}

} // namespace quillo::server
