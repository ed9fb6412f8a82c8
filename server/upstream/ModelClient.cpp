// SPDX-License-Identifier: Apache-2.0
#include "ModelClient.h"

#include "UpstreamHttp.h"
#include "common/JsonText.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <optional>

namespace quillo::server {

namespace {

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

boost::asio::awaitable<Result<QString, ModelFailure>>
ModelClient::complete(QJsonArray messages, int maxTokens, double temperature) const {
    auto endpoint = parseEndpoint(m_config.modelUrl);
    if (!endpoint) {
        co_return ModelFailure{ModelFailure::Kind::Unreachable,
                               QStringLiteral("unusable model URL")};
    }

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
    UpstreamRequest call{"POST", "/chat/completions", "application/json",
                         compactJson(request).toStdString(), m_config.modelKey};
    auto exchange =
        callUpstream(QStringLiteral("model"), std::move(*endpoint), std::move(call), timeout);
    const auto answer = co_await std::move(exchange);
    if (!answer)
        co_return answer.error();
    if (auto refused = failureOf(QStringLiteral("model"), answer->status))
        co_return *refused;
    if (auto text = replyText(answer->body))
        co_return *text;
    co_return ModelFailure{ModelFailure::Kind::Failed,
                           QStringLiteral("model answer has no text content")};
}

boost::asio::awaitable<bool> ModelClient::reachable() const {
    auto endpoint = parseEndpoint(m_config.modelUrl);
    if (!endpoint)
        co_return false;
    UpstreamRequest call{"GET", "/models", {}, {}, m_config.modelKey};
    auto exchange = callUpstream(QStringLiteral("model"), std::move(*endpoint), std::move(call),
                                 std::chrono::seconds(2));
    // Any HTTP answer will do: some servers want a key for /models, yet are up.
    const auto answer = co_await std::move(exchange);
    co_return answer.ok();
}

} // namespace quillo::server
