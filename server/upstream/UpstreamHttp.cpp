#include "UpstreamHttp.h"

#include <QUrl>

namespace quillo::server {

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
                                           std::chrono::seconds read, const QString& key) {
    auto client = std::make_unique<httplib::Client>(endpoint.origin);
    client->set_connection_timeout(connect);
    client->set_read_timeout(read);
    client->set_write_timeout(read);
    if (!key.isEmpty())
        client->set_bearer_token_auth(key.toStdString());
    return client;
}

UpstreamCall::UpstreamCall(QString who, std::chrono::seconds timeout)
    : m_who(std::move(who))
    , m_timeout(timeout)
    , m_started(std::chrono::steady_clock::now()) {}

ModelFailure UpstreamCall::failure(httplib::Error error) const {
    const QString reason = QString::fromStdString(httplib::to_string(error));
    switch (error) {
    case httplib::Error::Connection:
    case httplib::Error::ConnectionTimeout:
    case httplib::Error::BindIPAddress:
    case httplib::Error::SSLConnection:
    case httplib::Error::SSLLoadingCerts:
    case httplib::Error::SSLServerVerification:
        return {ModelFailure::Kind::Unreachable, reason};
    case httplib::Error::Read:
        // The client reports a read timeout as a failed read; the time spent tells them apart
        // from a peer that hung up early.
        if (std::chrono::steady_clock::now() - m_started >= m_timeout)
            return {ModelFailure::Kind::TimedOut, reason};
        return {ModelFailure::Kind::Failed, reason};
    default:
        return {ModelFailure::Kind::Failed, reason};
    }
}

std::optional<ModelFailure> UpstreamCall::failure(int status) const {
    if (status == 429)
        return ModelFailure{ModelFailure::Kind::Busy, m_who + QStringLiteral(" answered 429")};
    if (status < 200 || status > 299)
        return ModelFailure{ModelFailure::Kind::Failed,
                            m_who + QStringLiteral(" answered %1").arg(status)};
    return std::nullopt;
}

} // namespace quillo::server
