// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"
#include "model/DecodeError.h"
#include "service/Account.h"
#include "service/HttpRequest.h"
#include "service/PromptMessage.h"
#include "service/ProviderError.h"
#include "service/QuilloSession.h"
#include "service/RemoteState.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <QCoroTask>

#include <chrono>
#include <memory>
#include <optional>
#include <variant>

class QNetworkAccessManager;

namespace quillo {

// What this computer could not do in the middle of an exchange with the service, such as
// keeping a merged document on disk.
struct LocalFailure {
    QString problem;

    friend bool operator==(const LocalFailure&, const LocalFailure&) = default;
};

// Why a service call gave no result: the service or the way to it failed (`ProviderError`), the
// service said yes with a body of the wrong shape (`DecodeError`), or what came back could not
// be kept here (`LocalFailure`). Callers mostly act on the status, so the helpers answer for the
// provider side and say "no" for the others.
struct ApiError {
    std::variant<ProviderError, DecodeError, LocalFailure> failure;

    explicit ApiError(ProviderError error)
        : failure(std::move(error)) {}
    explicit ApiError(DecodeError error)
        : failure(std::move(error)) {}
    explicit ApiError(LocalFailure error)
        : failure(std::move(error)) {}

    const ProviderError* provider() const { return std::get_if<ProviderError>(&failure); }
    const DecodeError* decoding() const { return std::get_if<DecodeError>(&failure); }
    const LocalFailure* local() const { return std::get_if<LocalFailure>(&failure); }

    // Whether the service answered with exactly this HTTP status.
    bool hasStatus(int status) const;
    // A bad body is not going to get better by asking again.
    bool isRetryable() const;
    // For logs: the provider's description, "Quillo answer not understood: <where>: <what>", or
    // "Not kept on this computer: <what>".
    QString description() const;

    friend bool operator==(const ApiError&, const ApiError&) = default;
};

template <typename T>
using ApiResult = Result<T, ApiError>;

using ApiTimeouts = HttpLimits;

// The app's client of its own web service. One instance for the whole program; it keeps only
// its base URL and one network manager, and the caller hands in the token on every call.
// Statuses are not interpreted here beyond success and failure: the callers decide what a 401
// or a 429 means.
//
// Every operation starts its request at once and owns what it needs from then on, so a call in
// flight finishes cleanly even when this object is gone.
class QuilloAPI : public QObject {
    Q_OBJECT

public:
    // The model's answer and, when the service sent it, the account with its updated counters.
    struct Reply {
        QString content;
        std::optional<Account> account;

        friend bool operator==(const Reply&, const Reply&) = default;
    };

    explicit QuilloAPI(QUrl baseURL, ApiTimeouts timeouts = {}, QObject* parent = nullptr);
    ~QuilloAPI() override;

    const QUrl& baseURL() const { return m_baseURL; }

    // `purpose` names what the reply is for when it is not a contact's message ("feedback");
    // the service counts those apart. Empty sends no purpose.
    QCoro::Task<ApiResult<Reply>> reply(QString token, QList<PromptMessage> messages, int maxTokens,
                                        double temperature, QString purpose = {}) const;
    QCoro::Task<ApiResult<QuilloSession>> signIn(QString googleIdToken) const;
    QCoro::Task<ApiResult<QuilloSession>> signInWithCode(QString reviewCode) const;
    // Also hands back a session token, which the caller may take in place of the old one.
    QCoro::Task<ApiResult<QuilloSession>> account(QString token) const;
    QCoro::Task<ApiResult<std::monostate>> deleteAccount(QString token) const;
    // Ends the session on the service (signing out), so the token works nowhere any more.
    QCoro::Task<ApiResult<std::monostate>> endSession(QString token) const;
    QCoro::Task<ApiResult<RemoteState>> state(QString token, qint64 since) const;
    // `stateBytes` is the document exactly as it was written to disk; it travels unchanged.
    // The result is the service's new version stamp.
    QCoro::Task<ApiResult<qint64>> saveState(QString token, QByteArray stateBytes,
                                             qint64 baseUpdatedAt) const;
    // The text of a dictated recording: `wav` is 16-bit PCM WAV, `languageCode` what the user
    // speaks ("es", "pt-BR"; empty lets the speech model guess). Counts against no allowance.
    QCoro::Task<ApiResult<QString>> transcribe(QString token, QByteArray wav,
                                               QString languageCode) const;

    // `{"state":<stateBytes>,"baseUpdatedAt":<decimal>}`, assembled without re-encoding.
    static QByteArray stateUploadBody(const QByteArray& stateBytes, qint64 baseUpdatedAt);

private:
    enum class Method { Get, Post, Put, Delete };

    QCoro::Task<Result<QByteArray, ProviderError>>
    send(Method method, const QString& path, const QString& token, std::optional<QByteArray> body,
         const QByteArray& contentType = QByteArrayLiteral("application/json")) const;

    QUrl m_baseURL;
    ApiTimeouts m_timeouts;
    // Shared with the requests in flight, which keep it alive until they finish.
    std::shared_ptr<QNetworkAccessManager> m_network;
};

} // namespace quillo
