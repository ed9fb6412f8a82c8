// SPDX-License-Identifier: Apache-2.0
#include "TranscribeClient.h"

#include "UpstreamHttp.h"
#include "auth/Secrets.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <optional>

namespace quillo::server {

namespace {

// A multipart/form-data body. The boundary is random, so no part can contain it by chance.
class MultipartForm {
public:
    MultipartForm()
        : m_boundary("quillo-" + randomToken(24).toStdString()) {}

    void addField(std::string_view name, std::string_view value) {
        m_body += "--" + m_boundary + "\r\nContent-Disposition: form-data; name=\"";
        m_body.append(name);
        m_body += "\"\r\n\r\n";
        m_body.append(value);
        m_body += "\r\n";
    }

    void addFile(std::string_view name, std::string_view fileName, std::string_view type,
                 std::string_view bytes) {
        m_body += "--" + m_boundary + "\r\nContent-Disposition: form-data; name=\"";
        m_body.append(name);
        m_body += "\"; filename=\"";
        m_body.append(fileName);
        m_body += "\"\r\nContent-Type: ";
        m_body.append(type);
        m_body += "\r\n\r\n";
        m_body.append(bytes);
        m_body += "\r\n";
    }

    std::string contentType() const { return "multipart/form-data; boundary=" + m_boundary; }

    std::string finish() { return std::move(m_body) + "--" + m_boundary + "--\r\n"; }

private:
    std::string m_boundary;
    std::string m_body;
};

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

boost::asio::awaitable<Result<QString, ModelFailure>>
TranscribeClient::transcribe(QByteArray wav, QString language) const {
    auto endpoint = parseEndpoint(m_config.transcribeUrl);
    if (!endpoint) {
        co_return ModelFailure{ModelFailure::Kind::Unreachable,
                               QStringLiteral("unusable transcription URL")};
    }

    MultipartForm form;
    form.addFile("file", "audio.wav", "audio/wav",
                 std::string_view(wav.constData(), size_t(wav.size())));
    form.addField("model", m_config.transcribeModel.toStdString());
    form.addField("response_format", "json");
    if (!language.isEmpty())
        form.addField("language", language.toStdString());

    const std::chrono::seconds timeout(std::max(1, m_config.transcribeTimeoutSeconds));
    UpstreamRequest call{"POST", "/audio/transcriptions", form.contentType(), form.finish(),
                         m_config.transcribeKey};
    auto exchange =
        callUpstream(QStringLiteral("transcriber"), std::move(*endpoint), std::move(call), timeout);
    const auto answer = co_await std::move(exchange);
    if (!answer)
        co_return answer.error();
    if (auto refused = failureOf(QStringLiteral("transcriber"), answer->status))
        co_return *refused;
    if (auto text = transcriptText(answer->body))
        co_return *text;
    co_return ModelFailure{ModelFailure::Kind::Failed,
                           QStringLiteral("transcriber answer has no text")};
}

} // namespace quillo::server
