#include "ModelClient.h"

#include "common/JsonText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

namespace quillo::server {

namespace {

// Where the model endpoint lives: an origin for the HTTP client and the base path the OpenAI
// paths hang under ("/v1" in "http://host:8080/v1").
struct Endpoint {
    std::string origin;
    std::string basePath;
};

std::optional<Endpoint> parseEndpoint(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return std::nullopt;
    QString host = url.host(QUrl::FullyEncoded);
    if (host.contains(u':'))
        host = u'[' + host + u']';
    const int port = url.port(scheme == u"https" ? 443 : 80);
    QString path = url.path(QUrl::FullyEncoded);
    while (path.endsWith(u'/'))
        path.chop(1);
    const QString origin = scheme + QStringLiteral("://") + host + u':' + QString::number(port);
    return Endpoint{origin.toStdString(), path.toStdString()};
}

std::unique_ptr<httplib::Client> clientFor(const Endpoint& endpoint, std::chrono::seconds connect,
                                           std::chrono::seconds read) {
    auto client = std::make_unique<httplib::Client>(endpoint.origin);
    client->set_connection_timeout(connect);
    client->set_read_timeout(read);
    client->set_write_timeout(read);
    return client;
}

ModelFailure failure(ModelFailure::Kind kind, const QString& detail) {
    return ModelFailure{kind, detail};
}

// The text of choices[0].message.content: a string, or (as some servers send) a list of parts
// whose text parts are joined.
std::optional<QString> replyText(const std::string& body) {
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(body), &error);
    if (error.error != QJsonParseError::NoError || !json.isObject())
        return std::nullopt;
    const QJsonValue choices = json.object().value(u"choices");
    if (!choices.isArray() || choices.toArray().isEmpty())
        return std::nullopt;
    const QJsonValue content =
        choices.toArray().first().toObject().value(u"message").toObject().value(u"content");
    QString text;
    if (content.isString()) {
        text = content.toString();
    } else if (content.isArray()) {
        for (const QJsonValue& part : content.toArray()) {
            if (part.toObject().value(u"text").isString())
                text += part.toObject().value(u"text").toString();
        }
    }
    if (text.trimmed().isEmpty())
        return std::nullopt;
    return text;
}

} // namespace

ModelClient::ModelClient(const ServerConfig& config)
    : m_config(config) {}

Result<QString, ModelFailure> ModelClient::complete(const QJsonArray& messages, int maxTokens,
                                                    double temperature) const {
    const auto endpoint = parseEndpoint(m_config.modelUrl);
    if (!endpoint)
        return failure(ModelFailure::Kind::Unreachable, QStringLiteral("unusable model URL"));

    QJsonObject request{
        {QStringLiteral("model"), m_config.modelName},
        {QStringLiteral("messages"), messages},
        {QStringLiteral("max_tokens"), maxTokens},
        {QStringLiteral("temperature"), temperature},
    };
    if (m_config.modelJsonMode) {
        request.insert(QStringLiteral("response_format"),
                       QJsonObject{{QStringLiteral("type"), QStringLiteral("json_object")}});
    }

    const std::chrono::seconds timeout(std::max(1, m_config.modelTimeoutSeconds));
    const auto client = clientFor(*endpoint, std::min(timeout, std::chrono::seconds(10)), timeout);
    if (!m_config.modelKey.isEmpty())
        client->set_bearer_token_auth(m_config.modelKey.toStdString());

    const auto started = std::chrono::steady_clock::now();
    const httplib::Result answer =
        client->Post(endpoint->basePath + "/chat/completions", compactJson(request).toStdString(),
                     "application/json");
    if (!answer) {
        const httplib::Error error = answer.error();
        const QString reason = QString::fromStdString(httplib::to_string(error));
        switch (error) {
        case httplib::Error::Connection:
        case httplib::Error::ConnectionTimeout:
        case httplib::Error::BindIPAddress:
        case httplib::Error::SSLConnection:
        case httplib::Error::SSLLoadingCerts:
        case httplib::Error::SSLServerVerification:
            return failure(ModelFailure::Kind::Unreachable, reason);
        case httplib::Error::Read:
            // The client reports a read timeout as a failed read; the time spent tells them apart
            // from a peer that hung up early.
            if (std::chrono::steady_clock::now() - started >= timeout)
                return failure(ModelFailure::Kind::TimedOut, reason);
            return failure(ModelFailure::Kind::Failed, reason);
        default:
            return failure(ModelFailure::Kind::Failed, reason);
        }
    }

    const int status = answer->status;
    if (status == 429)
        return failure(ModelFailure::Kind::Busy, QStringLiteral("model answered 429"));
    if (status < 200 || status > 299) {
        return failure(ModelFailure::Kind::Failed, QStringLiteral("model answered %1").arg(status));
    }
    if (auto text = replyText(answer->body))
        return *text;
    return failure(ModelFailure::Kind::Failed, QStringLiteral("model answer has no text content"));
}

bool ModelClient::reachable() const {
    const auto endpoint = parseEndpoint(m_config.modelUrl);
    if (!endpoint)
        return false;
    const auto client = clientFor(*endpoint, std::chrono::seconds(2), std::chrono::seconds(2));
    if (!m_config.modelKey.isEmpty())
        client->set_bearer_token_auth(m_config.modelKey.toStdString());
    // Any HTTP answer will do: some servers want a key for /models, yet are up.
    return static_cast<bool>(client->Get(endpoint->basePath + "/models"));
}

} // namespace quillo::server
