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

// Whether the answer is a completion at all: an object with a list of choices.
bool isCompletion(const std::string& body) {
    const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(body));
    const QJsonValue choices = json.object().value(u"choices");
    return choices.isArray() && !choices.toArray().isEmpty();
}

} // namespace

ModelClient::ModelClient(const ServerConfig& config, const Clock& clock)
    : m_config(config)
    , m_discovery(config, clock) {}

boost::asio::awaitable<Result<QString, ModelFailure>>
ModelClient::complete(QJsonArray messages, int maxTokens, double temperature) {
    auto finding = m_discovery.forUse();
    const ModelFinding found = co_await std::move(finding);
    if (!found.endpoint)
        co_return ModelFailure{ModelFailure::Kind::Unreachable,
                               QStringLiteral("model: ") + found.problem};

    QJsonObject request{
        {QStringLiteral("model"), found.endpoint->name},
        {QStringLiteral("messages"), messages},
        {QStringLiteral("max_tokens"), maxTokens},
        {QStringLiteral("temperature"), temperature},
    };
    if (m_config.modelJsonMode) {
        request.insert(QStringLiteral("response_format"),
                       QJsonObject{{QStringLiteral("type"), QStringLiteral("json_object")}});
    }
    auto posting = post(*found.endpoint, std::move(request));
    const auto answer = co_await std::move(posting);
    if (!answer)
        co_return answer.error();
    if (auto text = replyText(*answer))
        co_return *text;
    co_return ModelFailure{ModelFailure::Kind::Failed,
                           QStringLiteral("model answer has no text content")};
}

boost::asio::awaitable<ModelCheck> ModelClient::check() {
    auto finding = m_discovery.forUse();
    const ModelFinding found = co_await std::move(finding);
    if (!found.endpoint)
        co_return ModelCheck{std::nullopt,
                             ModelFailure{ModelFailure::Kind::Unreachable, found.problem}};

    const QJsonObject request{
        {QStringLiteral("model"), found.endpoint->name},
        {QStringLiteral("messages"),
         QJsonArray{QJsonObject{{QStringLiteral("role"), QStringLiteral("user")},
                                {QStringLiteral("content"), QStringLiteral("Say OK.")}}}},
        {QStringLiteral("max_tokens"), 1},
        {QStringLiteral("temperature"), 0},
    };
    auto posting = post(*found.endpoint, request);
    const auto answer = co_await std::move(posting);
    if (!answer)
        co_return ModelCheck{found.endpoint, answer.error()};
    if (!isCompletion(*answer)) {
        co_return ModelCheck{found.endpoint,
                             ModelFailure{ModelFailure::Kind::Failed,
                                          QStringLiteral("model answer is not a completion")}};
    }
    co_return ModelCheck{found.endpoint, std::nullopt};
}

boost::asio::awaitable<Result<std::string, ModelFailure>> ModelClient::post(ModelEndpoint target,
                                                                            QJsonObject request) {
    auto endpoint = parseEndpoint(target.url);
    if (!endpoint) {
        co_return ModelFailure{ModelFailure::Kind::Unreachable,
                               QStringLiteral("unusable model URL")};
    }
    const std::chrono::seconds timeout(std::max(1, m_config.modelTimeoutSeconds));
    // The key goes only to the endpoint it was configured for, never to one found on loopback.
    const QString key = m_config.modelUrl.isEmpty() ? QString() : m_config.modelKey;
    UpstreamRequest call{"POST", "/chat/completions", "application/json",
                         compactJson(request).toStdString(), key};
    auto exchange =
        callUpstream(QStringLiteral("model"), std::move(*endpoint), std::move(call), timeout);
    auto answer = co_await std::move(exchange);
    if (!answer) {
        if (answer.error().kind == ModelFailure::Kind::Unreachable)
            m_discovery.forget(target);
        co_return answer.error();
    }
    if (auto refused = failureOf(QStringLiteral("model"), answer->status))
        co_return *refused;
    m_discovery.answered(target);
    co_return std::move(answer).value().body;
}

} // namespace quillo::server
