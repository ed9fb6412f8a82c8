// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "model/JsonCodec.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"

#include <QJsonArray>

namespace quillo::server {

namespace {

constexpr qsizetype maxMessages = 64;
constexpr int maxTokensLimit = 4096;

struct ReplyRequest {
    QJsonArray messages; // only role and content of each, as the model is sent them
    // "purpose": an answer for a contact ("reply", or no purpose), or feedback on what the
    // user writes ("feedback"); each is counted against its own daily allowance.
    Allowance allowance = Allowance::Replies;
    int maxTokens = 0;
    double temperature = 0;
};

Result<ReplyRequest, QString> parseReplyRequest(const QJsonObject& body) {
    ReplyRequest reply;
    const QJsonValue messages = body.value(u"messages");
    if (!messages.isArray() || messages.toArray().isEmpty() ||
        messages.toArray().size() > maxMessages)
        return QStringLiteral("messages: expected a list of 1 to 64 messages");
    const QJsonArray list = messages.toArray();
    for (qsizetype i = 0; i < list.size(); ++i) {
        const QString where = QStringLiteral("messages[%1]").arg(i);
        const QJsonObject message = list.at(i).toObject();
        const QString role = message.value(u"role").toString();
        if (role != u"system" && role != u"user" && role != u"assistant")
            return where + QStringLiteral(".role: expected system, user or assistant");
        if (!message.value(u"content").isString())
            return where + QStringLiteral(".content: expected text");
        reply.messages.append(QJsonObject{{QStringLiteral("role"), role},
                                          {QStringLiteral("content"), message.value(u"content")}});
    }
    const auto maxTokens = JsonCodec<int>::decode(body.value(u"maxTokens"));
    if (!maxTokens || *maxTokens < 1 || *maxTokens > maxTokensLimit)
        return QStringLiteral("maxTokens: expected a whole number from 1 to 4096");
    reply.maxTokens = *maxTokens;
    const QJsonValue temperature = body.value(u"temperature");
    if (!temperature.isDouble() || !(temperature.toDouble() >= 0 && temperature.toDouble() <= 2))
        return QStringLiteral("temperature: expected a number from 0 to 2");
    reply.temperature = temperature.toDouble();
    const QJsonValue purpose = body.value(u"purpose");
    if (purpose == QJsonValue(QStringLiteral("feedback")))
        reply.allowance = Allowance::Feedback;
    else if (!purpose.isUndefined() && purpose != QJsonValue(QStringLiteral("reply")))
        return QStringLiteral("purpose: expected reply or feedback");
    return reply;
}

// Every way the model can fail is one the app retries later; it never gets a made-up reply.
void sendModelFailure(HttpResponse& response, const ModelFailure& failure) {
    switch (failure.kind) {
    case ModelFailure::Kind::Busy:
        return sendError(response, 429, QStringLiteral("model busy"));
    case ModelFailure::Kind::Unreachable:
        return sendError(response, 503, QStringLiteral("model unreachable"));
    case ModelFailure::Kind::TimedOut:
        return sendError(response, 504, QStringLiteral("model timed out"));
    case ModelFailure::Kind::Failed:
        break;
    }
    sendError(response, 502, QStringLiteral("model failed"));
}

boost::asio::awaitable<void> reply(const ApiContext& api, const HttpRequest& request,
                                   HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        co_return;
    const auto body = jsonObjectBody(request);
    if (!body) {
        sendError(response, 400, body.error());
        co_return;
    }
    auto parsed = parseReplyRequest(*body);
    if (!parsed) {
        sendError(response, 400, parsed.error());
        co_return;
    }

    // The reply is taken from its allowance before the model is asked, so that concurrent
    // requests can never go past the limit; a failed one gives it back. The day is fixed here so
    // that a reply straddling midnight is given back to the day it was taken from.
    ReplyRequest asked = std::move(parsed).value();
    const Allowance allowance = asked.allowance;
    const bool feedback = allowance == Allowance::Feedback;
    const qint64 day = api.today();
    if (!api.storage.reserve(caller->accountId, day, allowance,
                             feedback ? api.config.dailyFeedbackLimit : api.config.dailyLimit)) {
        sendError(response, 402,
                  feedback ? QStringLiteral("daily feedback limit reached")
                           : QStringLiteral("daily limit reached"));
        co_return;
    }
    auto completion =
        api.model.complete(std::move(asked.messages), asked.maxTokens, asked.temperature);
    const auto content = co_await std::move(completion);
    if (!content) {
        api.storage.release(caller->accountId, day, allowance);
        qCInfo(lcHttp).noquote() << "model gave no reply:" << content.error().detail;
        sendModelFailure(response, content.error());
        co_return;
    }
    const auto account = api.storage.account(caller->accountId);
    if (!account) {
        sendError(response, 401, QStringLiteral("session expired"));
        co_return;
    }
    sendJson(response, 200,
             {{QStringLiteral("content"), *content},
              {QStringLiteral("account"), api.accountJson(*account, day)},
              {QStringLiteral("replies"), api.repliesJson()}});
}

} // namespace

void addReplyRoutes(Router& router, const ApiContext& api) {
    // Sixty-four messages of history and a system prompt fit well within a megabyte.
    router.postAsync("/v1/reply", BodyRule{1024 * 1024},
                     [&api](const HttpRequest& request, HttpResponse& response) {
                         return reply(api, request, response);
                     });
}

} // namespace quillo::server
