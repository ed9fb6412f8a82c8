// SPDX-License-Identifier: Apache-2.0
#include "GoogleSignIn.h"

#include "service/HttpRequest.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

#include <QCoroSignal>

namespace quillo {

namespace {

// Google answers at once or not at all; a minute covers a slow network either way.
constexpr HttpLimits tokenRequestLimits{std::chrono::seconds(60), std::chrono::seconds(60)};
const QString clientDomain = QStringLiteral(".apps.googleusercontent.com");
const QString redirectPath = QStringLiteral("/oauthredirect");

QString base64Url(const QByteArray& bytes) {
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

GoogleSignIn::Failure refused(const char* message) {
    return {GoogleSignIn::Failure::Kind::Refused, QString::fromUtf8(message)};
}

// The browser's request for the redirect: "GET /oauthredirect?code=…&state=… HTTP/1.1".
std::optional<QString> requestTarget(const QByteArray& head) {
    const QList<QByteArray> words = head.left(head.indexOf("\r\n")).split(' ');
    if (words.size() < 3 || words[0] != "GET")
        return std::nullopt;
    return QString::fromLatin1(words[1]);
}

} // namespace

std::optional<GoogleSignInConfig> GoogleSignInConfig::fromEnvironment() {
    GoogleSignInConfig config;
    config.clientId = qEnvironmentVariable("QUILLO_GOOGLE_CLIENT_ID").trimmed();
    if (config.clientId.isEmpty())
        return std::nullopt;
    config.clientSecret = qEnvironmentVariable("QUILLO_GOOGLE_CLIENT_SECRET").trimmed();
    if (qEnvironmentVariable("QUILLO_GOOGLE_REDIRECT") == QStringLiteral("scheme"))
        config.redirect = Redirect::Scheme;
    const QUrl authorization(qEnvironmentVariable("QUILLO_GOOGLE_AUTH_URL"));
    if (authorization.isValid() && !authorization.isRelative())
        config.authorizationEndpoint = authorization;
    const QUrl token(qEnvironmentVariable("QUILLO_GOOGLE_TOKEN_URL"));
    if (token.isValid() && !token.isRelative())
        config.tokenEndpoint = token;
    return config;
}

QString GoogleSignInConfig::scheme() const {
    QString id = clientId;
    if (id.endsWith(clientDomain))
        id.chop(clientDomain.size());
    return QStringLiteral("com.googleusercontent.apps.") + id;
}

GoogleSignIn::GoogleSignIn(GoogleSignInConfig config, Opener opener, QObject* parent)
    : QObject(parent)
    , m_config(std::move(config))
    , m_opener(std::move(opener))
    , m_network(newNetwork()) {}

GoogleSignIn::~GoogleSignIn() {
    m_lifetime.end();
    cancel();
}

QString GoogleSignIn::randomToken() {
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()),
                                          bytes.size() / int(sizeof(quint32)));
    return base64Url(bytes);
}

QString GoogleSignIn::codeChallenge(const QString& verifier) {
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

QUrl GoogleSignIn::authorizationUrl(const QString& redirectUri, const QString& challenge,
                                    const QString& state) const {
    QUrl url = m_config.authorizationEndpoint;
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("client_id"), m_config.clientId);
    query.addQueryItem(QStringLiteral("redirect_uri"), redirectUri);
    query.addQueryItem(QStringLiteral("response_type"), QStringLiteral("code"));
    query.addQueryItem(QStringLiteral("scope"), QStringLiteral("openid email profile"));
    query.addQueryItem(QStringLiteral("code_challenge"), challenge);
    query.addQueryItem(QStringLiteral("code_challenge_method"), QStringLiteral("S256"));
    query.addQueryItem(QStringLiteral("state"), state);
    query.addQueryItem(QStringLiteral("prompt"), QStringLiteral("select_account"));
    url.setQuery(query);
    return url;
}

std::optional<QString> GoogleSignIn::listenForRedirect() {
    m_loopback = std::make_unique<QTcpServer>();
    if (!m_loopback->listen(QHostAddress::LocalHost, 0))
        return std::nullopt;
    connect(m_loopback.get(), &QTcpServer::newConnection, this, &GoogleSignIn::answerBrowser);
    return QStringLiteral("http://127.0.0.1:%1").arg(m_loopback->serverPort()) + redirectPath;
}

void GoogleSignIn::answerBrowser() {
    while (QTcpSocket* socket = m_loopback ? m_loopback->nextPendingConnection() : nullptr) {
        const quint16 port = m_loopback->serverPort();
        // The answer is written after the attempt ends and the listener goes.
        socket->setParent(this);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, socket, [this, socket, port] {
            // The head of a browser's GET is small; anything larger is not ours.
            if (socket->bytesAvailable() > 16 * 1024 ||
                !socket->peek(16 * 1024).contains("\r\n\r\n")) {
                if (socket->bytesAvailable() > 16 * 1024)
                    socket->abort();
                return;
            }
            const std::optional<QString> target = requestTarget(socket->readAll());
            const bool ours =
                target && handle(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port) + *target));
            const QByteArray page =
                ours ? QByteArrayLiteral("<!doctype html><meta charset=utf-8><title>Quillo</title>"
                                         "<p>You are signed in. You can close this tab and go "
                                         "back to Quillo.</p>")
                     : QByteArrayLiteral("<!doctype html><meta charset=utf-8><title>Quillo</title>"
                                         "<p>This sign-in is no longer waiting.</p>");
            socket->write(QByteArrayLiteral("HTTP/1.1 ") + (ours ? "200 OK" : "400 Bad Request") +
                          "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
                          QByteArray::number(page.size()) + "\r\nConnection: close\r\n\r\n" + page);
            socket->disconnectFromHost();
        });
    }
}

QCoro::Task<GoogleSignIn::Outcome> GoogleSignIn::idToken() {
    const Lifetime::Watch alive = m_lifetime.watch();
    if (m_pending)
        finish({Failure::Kind::Cancelled, {}});

    const QString verifier = randomToken();
    const QString state = randomToken();
    QString redirectUri;
    if (m_config.redirect == GoogleSignInConfig::Redirect::Loopback) {
        const std::optional<QString> listening = listenForRedirect();
        if (!listening)
            co_return Outcome(refused("Couldn't open your browser. Try again."));
        redirectUri = *listening;
    } else {
        redirectUri = m_config.scheme() + QStringLiteral(":") + redirectPath;
    }

    auto arrival = std::make_shared<Arrival>();
    m_pending = Pending{state, redirectUri, arrival};
    Q_EMIT waitingChanged();
    const QUrl url = authorizationUrl(redirectUri, codeChallenge(verifier), state);
    if (!url.isValid() || !m_opener || !m_opener(url))
        finish(refused("Couldn't open your browser. Try again."));

    // However long the user stays in the browser: this attempt ends by its callback, a
    // failure, a cancel, or a newer attempt.
    for (;;) {
        if (arrival->done)
            break;
        co_await qCoro(this, &GoogleSignIn::resumed);
    }
    if (alive.ended())
        co_return Outcome(Failure{Failure::Kind::Cancelled, {}});
    if (arrival->failure)
        co_return Outcome(*arrival->failure);

    const QUrlQuery answer(arrival->callback);
    const QString code = answer.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    if (answer.hasQueryItem(QStringLiteral("error")) || code.isEmpty())
        co_return Outcome(refused("Google sign-in didn't finish. Try again."));
    auto exchanging = exchange(code, verifier, redirectUri);
    co_return co_await exchanging;
}

QCoro::Task<GoogleSignIn::Outcome> GoogleSignIn::exchange(QString code, QString verifier,
                                                          QString redirectUri) {
    const std::shared_ptr<QNetworkAccessManager> network = m_network;
    const auto encoded = [](const QString& value) { return QUrl::toPercentEncoding(value); };
    QByteArray body = "code=" + encoded(code) + "&client_id=" + encoded(m_config.clientId);
    if (m_config.redirect == GoogleSignInConfig::Redirect::Loopback &&
        !m_config.clientSecret.isEmpty())
        body += "&client_secret=" + encoded(m_config.clientSecret);
    body += "&code_verifier=" + encoded(verifier) +
            "&grant_type=authorization_code&redirect_uri=" + encoded(redirectUri);
    QNetworkRequest request(m_config.tokenEndpoint);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QStringLiteral("application/x-www-form-urlencoded"));
    auto exchanging = sendRequest(network, "POST", request, body, tokenRequestLimits);
    const HttpAnswer answer = co_await exchanging;
    if (!answer.status)
        co_return Outcome(refused("Couldn't reach Google. Check your connection and try again."));
    // Strictly 200: any other answer, another 2xx too, is a refusal.
    if (*answer.status != 200)
        co_return Outcome(refused("Google didn't accept the sign-in. Try again."));
    const QJsonValue token = QJsonDocument::fromJson(answer.body).object().value(u"id_token");
    if (!token.isString() || token.toString().isEmpty())
        co_return Outcome(refused("Couldn't reach Google. Check your connection and try again."));
    co_return Outcome(token.toString());
}

bool GoogleSignIn::handle(const QUrl& url) {
    if (!m_pending)
        return false;
    const QUrl expected(m_pending->redirectUri);
    if (url.scheme().isEmpty() || url.scheme() != expected.scheme() ||
        url.host() != expected.host() || url.port() != expected.port() ||
        url.path() != expected.path())
        return false;
    const QUrlQuery query(url);
    if (!query.hasQueryItem(QStringLiteral("state")) ||
        query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded) != m_pending->state)
        return false;
    end([&url](Arrival& arrival) { arrival.callback = url; });
    return true;
}

void GoogleSignIn::cancel() {
    finish({Failure::Kind::Cancelled, {}});
}

void GoogleSignIn::finish(const Failure& failure) {
    if (m_pending)
        end([&failure](Arrival& arrival) { arrival.failure = failure; });
}

void GoogleSignIn::end(const std::function<void(Arrival&)>& how) {
    const std::shared_ptr<Arrival> arrival = m_pending->arrival;
    m_pending.reset();
    how(*arrival);
    arrival->done = true;
    m_loopback.reset();
    Q_EMIT waitingChanged();
    Q_EMIT resumed();
}

} // namespace quillo
