// SPDX-License-Identifier: Apache-2.0
#include "QuilloAPI.h"

#include "common/JsonText.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QNetworkRequest>

namespace quillo {

bool ApiError::hasStatus(int status) const {
    const ProviderError* error = provider();
    return error && error->status == status;
}

bool ApiError::isRetryable() const {
    const ProviderError* error = provider();
    return error && error->isRetryable();
}

QString ApiError::description() const {
    if (const ProviderError* error = provider())
        return error->description();
    if (const LocalFailure* error = local())
        return QStringLiteral("Not kept on this computer: ") + error->problem;
    return QStringLiteral("Quillo answer not understood: ") + decoding()->message();
}

namespace {

using Sent = Result<QByteArray, ProviderError>;

// What the service's answer means to the callers: the body of a success, or the failure with
// its status.
QCoro::Task<Sent> transfer(QCoro::Task<HttpAnswer> sending) {
    const HttpAnswer answer = co_await sending;
    if (!answer.status && !answer.whole()) {
        const QString why = answer.cut == HttpAnswer::Cut::Overall
                                ? QStringLiteral("The request timed out.")
                                : answer.failure;
        co_return ProviderError{std::nullopt, why};
    }
    // An answer that is not HTTP has a status of 0: present, so that it is not retried.
    const int code = answer.status.value_or(0);
    if (code >= 200 && code <= 299)
        co_return answer.body;
    co_return ProviderError{code, QString::fromUtf8(answer.body)};
}

// The answer body as one JSON object, ready for a record's decoder.
Decoded<QJsonValue> parseObject(const QByteArray& bytes) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return DecodeError{{}, QStringLiteral("malformed JSON: ") + parseError.errorString()};
    if (!document.isObject())
        return DecodeError{{}, QStringLiteral("expected an object")};
    return QJsonValue(document.object());
}

template <typename T>
using Decoder = Decoded<T> (*)(const QJsonValue&);

template <typename T>
QCoro::Task<ApiResult<T>> decodedAnswer(QCoro::Task<Sent> sending, Decoder<T> decode) {
    Sent sent = co_await sending;
    if (!sent)
        co_return ApiResult<T>(ApiError(std::move(sent).error()));
    Decoded<QJsonValue> json = parseObject(sent.value());
    if (!json)
        co_return ApiResult<T>(ApiError(std::move(json).error()));
    Decoded<T> decoded = decode(json.value());
    if (!decoded)
        co_return ApiResult<T>(ApiError(std::move(decoded).error()));
    co_return ApiResult<T>(std::move(decoded).value());
}

Decoded<QuilloAPI::Reply> decodeReply(const QJsonValue& value) {
    ObjectReader r(value);
    QuilloAPI::Reply reply{r.required<QString>(QStringLiteral("content")),
                           r.strictOptional<Account>(QStringLiteral("account"))};
    if (r.failed())
        return r.error();
    return reply;
}

Decoded<QuilloSession> decodeSession(const QJsonValue& value) {
    ObjectReader r(value);
    QuilloSession session{r.required<QString>(QStringLiteral("sessionToken")),
                          r.required<Account>(QStringLiteral("account"))};
    if (r.failed())
        return r.error();
    // Read forgivingly: anything but a boolean says nothing.
    const QJsonValue ready = value.toObject().value(u"replies").toObject().value(u"ready");
    if (ready.isBool())
        session.repliesReady = ready.toBool();
    return session;
}

Decoded<QString> decodeTranscript(const QJsonValue& value) {
    ObjectReader r(value);
    const auto text = r.required<QString>(QStringLiteral("text"));
    if (r.failed())
        return r.error();
    return text;
}

Decoded<qint64> decodeUpdatedAt(const QJsonValue& value) {
    ObjectReader r(value);
    const auto updatedAt = r.required<qint64>(QStringLiteral("updatedAt"));
    if (r.failed())
        return r.error();
    return updatedAt;
}

// Success is all that matters; whatever the body says is ignored.
QCoro::Task<ApiResult<std::monostate>> withoutAnswer(QCoro::Task<Sent> sending) {
    Sent sent = co_await sending;
    if (!sent)
        co_return ApiResult<std::monostate>(ApiError(std::move(sent).error()));
    co_return ApiResult<std::monostate>(std::monostate{});
}

// The request gave up before it began, in the shape of a finished call.
QCoro::Task<Sent> failedAtOnce(ProviderError error) {
    co_return Sent(std::move(error));
}

} // namespace

QuilloAPI::QuilloAPI(QUrl baseURL, ApiTimeouts timeouts, QObject* parent)
    : QObject(parent)
    , m_baseURL(std::move(baseURL))
    , m_timeouts(timeouts)
    , m_network(newNetwork()) {
    // No disk cache is ever set, and the default cookie jar lives in memory only.
}

QuilloAPI::~QuilloAPI() = default;

QCoro::Task<Sent> QuilloAPI::send(Method method, const QString& path, const QString& token,
                                  std::optional<QByteArray> body,
                                  const QByteArray& contentType) const {
    const QUrl url = m_baseURL.resolved(QUrl(path));
    if (!url.isValid() || url.isRelative())
        return failedAtOnce(ProviderError{std::nullopt, QStringLiteral("Bad path ") + path});

    QNetworkRequest request(url);
    request.setRawHeader("Accept", "application/json");
    if (!token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    if (body)
        request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    QByteArray verb;
    switch (method) {
    case Method::Get:
        verb = "GET";
        break;
    case Method::Post:
        verb = "POST";
        break;
    case Method::Put:
        verb = "PUT";
        break;
    case Method::Delete:
        verb = "DELETE";
        break;
    }
    return transfer(sendRequest(m_network, verb, request, std::move(body), m_timeouts));
}

QCoro::Task<ApiResult<QuilloAPI::Reply>> QuilloAPI::reply(QString token,
                                                          QList<PromptMessage> messages,
                                                          int maxTokens, double temperature,
                                                          QString purpose) const {
    QJsonObject body{{QStringLiteral("messages"), toJsonValue(messages)},
                     {QStringLiteral("maxTokens"), maxTokens},
                     {QStringLiteral("temperature"), temperature}};
    if (!purpose.isEmpty())
        body.insert(QStringLiteral("purpose"), purpose);
    return decodedAnswer<Reply>(
        send(Method::Post, QStringLiteral("/v1/reply"), token, compactJson(body)), &decodeReply);
}

QCoro::Task<ApiResult<QuilloSession>> QuilloAPI::signIn(QString googleIdToken) const {
    const QJsonObject body{{QStringLiteral("idToken"), googleIdToken}};
    return decodedAnswer<QuilloSession>(
        send(Method::Post, QStringLiteral("/v1/session"), {}, compactJson(body)), &decodeSession);
}

QCoro::Task<ApiResult<QuilloSession>> QuilloAPI::signInWithCode(QString reviewCode) const {
    const QJsonObject body{{QStringLiteral("reviewCode"), reviewCode}};
    return decodedAnswer<QuilloSession>(
        send(Method::Post, QStringLiteral("/v1/session"), {}, compactJson(body)), &decodeSession);
}

QCoro::Task<ApiResult<QuilloSession>> QuilloAPI::account(QString token) const {
    return decodedAnswer<QuilloSession>(
        send(Method::Get, QStringLiteral("/v1/account"), token, std::nullopt), &decodeSession);
}

QCoro::Task<ApiResult<std::monostate>> QuilloAPI::deleteAccount(QString token) const {
    return withoutAnswer(send(Method::Delete, QStringLiteral("/v1/account"), token, std::nullopt));
}

QCoro::Task<ApiResult<std::monostate>> QuilloAPI::endSession(QString token) const {
    return withoutAnswer(send(Method::Delete, QStringLiteral("/v1/session"), token, std::nullopt));
}

QCoro::Task<ApiResult<RemoteState>> QuilloAPI::state(QString token, qint64 since) const {
    const QString path = QStringLiteral("/v1/state?since=") + QString::number(since);
    return decodedAnswer<RemoteState>(send(Method::Get, path, token, std::nullopt),
                                      &RemoteState::fromJson);
}

QCoro::Task<ApiResult<qint64>> QuilloAPI::saveState(QString token, QByteArray stateBytes,
                                                    qint64 baseUpdatedAt) const {
    return decodedAnswer<qint64>(send(Method::Put, QStringLiteral("/v1/state"), token,
                                      stateUploadBody(stateBytes, baseUpdatedAt)),
                                 &decodeUpdatedAt);
}

QCoro::Task<ApiResult<QString>> QuilloAPI::transcribe(QString token, QByteArray wav,
                                                      QString languageCode) const {
    QString path = QStringLiteral("/v1/transcribe");
    if (!languageCode.isEmpty())
        path += QStringLiteral("?language=") +
                QString::fromLatin1(QUrl::toPercentEncoding(languageCode));
    return decodedAnswer<QString>(
        send(Method::Post, path, token, std::move(wav), QByteArrayLiteral("audio/wav")),
        &decodeTranscript);
}

QByteArray QuilloAPI::stateUploadBody(const QByteArray& stateBytes, qint64 baseUpdatedAt) {
    QByteArray body;
    const QByteArray base = QByteArray::number(baseUpdatedAt);
    body.reserve(stateBytes.size() + base.size() + 27);
    body.append("{\"state\":").append(stateBytes).append(",\"baseUpdatedAt\":").append(base);
    body.append('}');
    return body;
}

} // namespace quillo
