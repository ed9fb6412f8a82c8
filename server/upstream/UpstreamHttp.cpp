// SPDX-License-Identifier: Apache-2.0
#include "UpstreamHttp.h"

#include <QUrl>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <openssl/ssl.h>

#include <algorithm>

namespace quillo::server {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;

namespace {

constexpr auto noThrow = asio::as_tuple(asio::use_awaitable);
constexpr std::chrono::seconds longestConnect{10};
// Far above any chat completion, transcript or key set.
constexpr std::uint64_t maxAnswerBytes = 16 * 1024 * 1024;

using Outcome = Result<UpstreamAnswer, ModelFailure>;

ModelFailure failure(ModelFailure::Kind kind, const QString& who, const beast::error_code& error) {
    return {kind, who + QStringLiteral(": ") + QString::fromStdString(error.message())};
}

// Verifies peers against the system's certificate authorities.
asio::ssl::context& clientTls() {
    static asio::ssl::context context = [] {
        asio::ssl::context made(asio::ssl::context::tls_client);
        made.set_default_verify_paths();
        made.set_verify_mode(asio::ssl::verify_peer);
        return made;
    }();
    return context;
}

template <typename Stream>
asio::awaitable<Outcome> exchange(Stream& stream, const QString& who, const Endpoint& endpoint,
                                  const UpstreamRequest& request,
                                  std::chrono::steady_clock::time_point deadline) {
    http::request<http::string_body> message;
    message.version(11);
    message.method_string(request.method);
    message.target(endpoint.basePath + request.path);
    const bool ipv6 = endpoint.host.find(':') != std::string::npos;
    message.set(http::field::host,
                (ipv6 ? '[' + endpoint.host + ']' : endpoint.host) + ':' + endpoint.port);
    message.set(http::field::user_agent, "quillo-server");
    message.set(http::field::accept, "application/json");
    if (!request.key.isEmpty())
        message.set(http::field::authorization, "Bearer " + request.key.toStdString());
    if (!request.contentType.empty())
        message.set(http::field::content_type, request.contentType);
    message.body() = request.body;
    message.keep_alive(false);
    message.prepare_payload();

    auto& tcp = beast::get_lowest_layer(stream);
    tcp.expires_at(deadline);
    const auto [writeError, written] = co_await http::async_write(stream, message, noThrow);
    if (writeError) {
        co_return failure(writeError == beast::error::timeout ? ModelFailure::Kind::TimedOut
                                                              : ModelFailure::Kind::Failed,
                          who, writeError);
    }
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(maxAnswerBytes);
    const auto [readError, read] = co_await http::async_read(stream, buffer, parser, noThrow);
    if (readError) {
        co_return failure(readError == beast::error::timeout ? ModelFailure::Kind::TimedOut
                                                             : ModelFailure::Kind::Failed,
                          who, readError);
    }
    co_return UpstreamAnswer{int(parser.get().result_int()), std::move(parser.get().body())};
}

} // namespace

std::optional<Endpoint> parseEndpoint(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return std::nullopt;
    const bool tls = scheme == u"https";
    QString path = url.path(QUrl::FullyEncoded);
    while (path.endsWith(u'/'))
        path.chop(1);
    return Endpoint{tls, url.host(QUrl::FullyEncoded).toStdString(),
                    std::to_string(url.port(tls ? 443 : 80)), path.toStdString()};
}

QString shownUrl(const QString& text) {
    return QUrl(text)
        .adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment)
        .toString();
}

asio::awaitable<Outcome> callUpstream(QString who, Endpoint endpoint, UpstreamRequest request,
                                      std::chrono::seconds timeout) {
    const auto executor = co_await asio::this_coro::executor;
    const auto deadline = std::chrono::steady_clock::now() + timeout;

    tcp::resolver resolver(executor);
    const auto [resolveError, found] =
        co_await resolver.async_resolve(endpoint.host, endpoint.port, noThrow);
    if (resolveError)
        co_return failure(ModelFailure::Kind::Unreachable, who, resolveError);
    beast::tcp_stream plain(executor);
    plain.expires_after(std::min<std::chrono::seconds>(timeout, longestConnect));
    const auto [connectError, connected] = co_await plain.async_connect(found, noThrow);
    if (connectError)
        co_return failure(ModelFailure::Kind::Unreachable, who, connectError);
    if (!endpoint.tls)
        co_return co_await exchange(plain, who, endpoint, request, deadline);

    beast::ssl_stream<beast::tcp_stream> tls(std::move(plain), clientTls());
    // The server name, so that a host serving several names shows the right certificate.
    if (SSL_ctrl(tls.native_handle(), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name,
                 const_cast<char*>(endpoint.host.c_str())) != 1)
        co_return ModelFailure{ModelFailure::Kind::Unreachable, who + QStringLiteral(": bad host")};
    tls.set_verify_callback(asio::ssl::host_name_verification(endpoint.host));
    beast::get_lowest_layer(tls).expires_at(deadline);
    const auto [handshakeError] =
        co_await tls.async_handshake(asio::ssl::stream_base::client, noThrow);
    if (handshakeError)
        co_return failure(ModelFailure::Kind::Unreachable, who, handshakeError);
    co_return co_await exchange(tls, who, endpoint, request, deadline);
}

namespace {

asio::awaitable<void> callInto(std::optional<Outcome>& outcome, QString who, Endpoint endpoint,
                               UpstreamRequest request, std::chrono::seconds timeout) {
    auto call = callUpstream(std::move(who), std::move(endpoint), std::move(request), timeout);
    outcome.emplace(co_await std::move(call));
}

} // namespace

Outcome callUpstreamBlocking(QString who, Endpoint endpoint, UpstreamRequest request,
                             std::chrono::seconds timeout) {
    asio::io_context loop;
    std::optional<Outcome> outcome;
    asio::co_spawn(
        loop, callInto(outcome, std::move(who), std::move(endpoint), std::move(request), timeout),
        asio::detached);
    loop.run();
    if (!outcome)
        return ModelFailure{ModelFailure::Kind::Failed, QStringLiteral("upstream call failed")};
    return std::move(*outcome);
}

std::optional<ModelFailure> failureOf(const QString& who, int status) {
    if (status == 429)
        return ModelFailure{ModelFailure::Kind::Busy, who + QStringLiteral(" answered 429")};
    if (status < 200 || status > 299)
        return ModelFailure{ModelFailure::Kind::Failed,
                            who + QStringLiteral(" answered %1").arg(status)};
    return std::nullopt;
}

} // namespace quillo::server
