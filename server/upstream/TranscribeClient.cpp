#include "TranscribeClient.h"

#include "UpstreamHttp.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <optional>

namespace quillo::server {

namespace {

std::optional<QString> transcriptText(const std::string& body) {
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(body), &error);
    if (error.error != QJsonParseError::NoError || !json.isObject())
        return std::nullopt;
    const QJsonValue text = json.object().value(u"text");
    if (!text.isString())
        return std::nullopt;
    // Speech models tend to start the text with a space.
    return text.toString().trimmed();
}

} // namespace

TranscribeClient::TranscribeClient(const ServerConfig& config)
    : m_config(config) {}

bool TranscribeClient::configured() const {
    return !m_config.transcribeUrl.isEmpty();
}

Result<QString, ModelFailure> TranscribeClient::transcribe(const QByteArray& wav,
                                                           const QString& language) const {
    const auto endpoint = parseEndpoint(m_config.transcribeUrl);
    if (!endpoint) {
        return ModelFailure{ModelFailure::Kind::Unreachable,
                            QStringLiteral("unusable transcription URL")};
    }

    httplib::MultipartFormDataItems form{
        {"file", wav.toStdString(), "audio.wav", "audio/wav"},
        {"model", m_config.transcribeModel.toStdString(), {}, {}},
        {"response_format", "json", {}, {}},
    };
    if (!language.isEmpty())
        form.push_back({"language", language.toStdString(), {}, {}});

    const std::chrono::seconds timeout(std::max(1, m_config.transcribeTimeoutSeconds));
    const auto client = clientFor(*endpoint, std::min(timeout, std::chrono::seconds(10)), timeout,
                                  m_config.transcribeKey);

    const UpstreamCall call(QStringLiteral("transcriber"), timeout);
    const httplib::Result answer = client->Post(endpoint->basePath + "/audio/transcriptions", form);
    if (!answer)
        return call.failure(answer.error());
    if (auto refused = call.failure(answer->status))
        return *refused;
    if (auto text = transcriptText(answer->body))
        return *text;
    return ModelFailure{ModelFailure::Kind::Failed,
                        QStringLiteral("transcriber answer has no text")};
}

} // namespace quillo::server
