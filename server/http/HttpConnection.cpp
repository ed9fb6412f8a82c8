// SPDX-License-Identifier: Apache-2.0
#include "HttpConnection.h"

#include "GzipBody.h"
#include "HttpJson.h"
#include "HttpMessage.h"
#include "RequestFraming.h"
#include "RequestLog.h"
#include "Router.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http.hpp>

#include <QString>

#include <algorithm>

namespace quillo::server {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr auto noThrow = asio::as_tuple(asio::use_awaitable);

// After an early refusal the client may still be sending a body it was never asked for: read
// and drop a bounded amount of it so that closing does not reset the connection under the
// answer before the client has read it. Many clients send the whole body before they read, so
// a body whose length was declared is drained whole when it is not much past any route's
// needs; an unknown or larger one only in part, within the time allowed.
constexpr size_t minDrainBytes = 1024 * 1024;
constexpr size_t maxDrainBytes = 8 * 1024 * 1024;
constexpr std::chrono::milliseconds drainTime{1000};

size_t drainBudget(const http::request_parser<http::empty_body>& head) {
    const auto declared = head.content_length();
    return std::clamp<size_t>(declared ? size_t(*declared) : 0, minDrainBytes, maxDrainBytes);
}

// The connection ended or timed out rather than sent something wrong: nobody to answer.
bool connectionGone(const beast::error_code& error) {
    return error == http::error::end_of_stream || error == http::error::partial_message ||
           error == beast::error::timeout || error == asio::error::operation_aborted ||
           error == asio::error::eof || error == asio::error::connection_reset ||
           error == asio::error::bad_descriptor || error == asio::error::broken_pipe;
}

http::response<http::string_body> wireAnswer(HttpResponse& response, unsigned version,
                                             bool keepAlive) {
    http::response<http::string_body> answer{http::status(response.status), version};
    if (!response.contentType.empty())
        answer.set(http::field::content_type, response.contentType);
    for (const auto& [name, value] : response.headers)
        answer.set(name, value);
    answer.body() = std::move(response.body);
    answer.keep_alive(keepAlive);
    answer.prepare_payload();
    return answer;
}

template <typename Stream>
asio::awaitable<void> closeStream(Stream& stream, size_t drain) {
    auto& tcp = beast::get_lowest_layer(stream);
    if constexpr (std::is_same_v<Stream, HttpConnection::TlsStream>) {
        tcp.expires_after(drainTime);
        co_await stream.async_shutdown(noThrow);
    } else {
        beast::error_code ignored;
        tcp.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
        if (drain > 0) {
            tcp.expires_after(drainTime);
            std::array<char, 16 * 1024> scratch{};
            size_t drained = 0;
            while (drained < drain) {
                const auto [error, read] =
                    co_await tcp.async_read_some(asio::buffer(scratch), noThrow);
                if (error)
                    break;
                drained += read;
            }
        }
    }
    tcp.close();
}

std::string remoteAddressOf(const asio::ip::tcp::socket& socket) {
    beast::error_code error;
    const auto remote = socket.remote_endpoint(error);
    return error ? std::string() : remote.address().to_string();
}

std::variant<beast::tcp_stream, HttpConnection::TlsStream> streamOver(asio::ip::tcp::socket socket,
                                                                      asio::ssl::context* tls) {
    using Streams = std::variant<beast::tcp_stream, HttpConnection::TlsStream>;
    if (tls)
        return Streams(std::in_place_index<1>, std::move(socket), *tls);
    return Streams(std::in_place_index<0>, std::move(socket));
}

} // namespace

HttpConnection::HttpConnection(asio::ip::tcp::socket socket, asio::ssl::context* tls,
                               const ConnectionContext& context)
    : m_context(context)
    , m_remoteAddress(remoteAddressOf(socket))
    , m_stream(streamOver(std::move(socket), tls)) {}

asio::awaitable<void> HttpConnection::run() {
    auto self = shared_from_this();
    if (auto* tls = std::get_if<TlsStream>(&m_stream)) {
        beast::get_lowest_layer(*tls).expires_after(m_context.limits.requestTimeout);
        const auto [error] = co_await tls->async_handshake(asio::ssl::stream_base::server, noThrow);
        if (error) {
            closeSocket();
            co_return;
        }
        co_await serve(*tls);
    } else {
        co_await serve(std::get<beast::tcp_stream>(m_stream));
    }
}

void HttpConnection::abort() {
    asio::post(lowest().get_executor(), [self = shared_from_this()] {
        self->m_stopping = true;
        if (!self->m_busy)
            self->closeSocket();
    });
}

beast::tcp_stream& HttpConnection::lowest() {
    return std::visit(
        [](auto& stream) -> beast::tcp_stream& { return beast::get_lowest_layer(stream); },
        m_stream);
}

void HttpConnection::closeSocket() {
    lowest().close();
}

template <typename Stream>
asio::awaitable<void> HttpConnection::serve(Stream& stream) {
    beast::flat_buffer buffer;
    while (!m_stopping) {
        const bool keepGoing = co_await serveOne(stream, buffer);
        if (!keepGoing)
            co_return;
    }
    closeSocket();
}

template <typename Stream>
asio::awaitable<bool> HttpConnection::serveOne(Stream& stream, beast::flat_buffer& buffer) {
    const ConnectionLimits& limits = m_context.limits;
    auto& tcp = beast::get_lowest_layer(stream);
    const auto started = std::chrono::steady_clock::now();
    HttpRequest request;
    request.remoteAddress = m_remoteAddress;
    HttpResponse response;
    unsigned version = 11;
    bool keepAlive = false;
    bool refusedEarly = false;
    size_t drain = minDrainBytes; // of a body left unread, when refused early

    // Headers and body share one deadline, so a client that trickles either is cut off.
    tcp.expires_after(limits.requestTimeout);
    http::request_parser<http::empty_body> head;
    head.header_limit(std::uint32_t(limits.maxHeaderBytes));
    // The route's own limit is checked against the length once the route is known.
    head.body_limit(boost::none);
    const auto [headError, headBytes] =
        co_await http::async_read_header(stream, buffer, head, noThrow);
    if (headError) {
        if (connectionGone(headError)) {
            closeSocket();
            co_return false;
        }
        const Refusal refusal = refusalOf(headError);
        sendError(response, refusal.status, QString::fromLatin1(refusal.text));
        refusedEarly = true;
    } else {
        const auto& header = head.get();
        version = header.version();
        request.method = std::string(header.method_string());
        const std::string_view target = header.target();
        const size_t mark = target.find('?');
        request.path = std::string(target.substr(0, mark));
        if (mark != std::string_view::npos)
            request.query = std::string(target.substr(mark + 1));
        const Router::Route* route = m_context.router.find(request.method, request.path);

        if (auto refused = checkHeaders(head, limits, route, m_context.router, request.path)) {
            if (!refused->allow.empty())
                response.setHeader("Allow", refused->allow);
            drain = drainBudget(head);
            sendError(response, refused->status, QString::fromLatin1(refused->text));
            refusedEarly = true;
        } else {
            keepAlive = header.keep_alive();
            for (const auto& field : header)
                request.headers.emplace_back(std::string(field.name_string()),
                                             std::string(field.value()));
            const bool gzip = sameText(trimmed(header[http::field::content_encoding]), "gzip");
            if (sameText(header[http::field::expect], "100-continue")) {
                http::response<http::empty_body> goOn{http::status::continue_, version};
                const auto [error, written] = co_await http::async_write(stream, goOn, noThrow);
                if (error) {
                    closeSocket();
                    co_return false;
                }
            }

            http::request_parser<http::string_body> full(std::move(head));
            full.body_limit(route->body.maxBytes);
            const auto [bodyError, bodyBytes] =
                co_await http::async_read(stream, buffer, full, noThrow);
            if (bodyError) {
                if (connectionGone(bodyError)) {
                    closeSocket();
                    co_return false;
                }
                const Refusal refusal = refusalOf(bodyError, route);
                sendError(response, refusal.status, QString::fromLatin1(refusal.text));
                refusedEarly = true;
            } else {
                request.body = std::move(full.get().body());
                if (gzip) {
                    auto inflated = inflateGzip(request.body, route->body.maxBytes);
                    if (inflated) {
                        request.body = std::move(inflated).value();
                    } else {
                        const bool tooLarge = inflated.error() == InflateError::TooLarge;
                        sendError(response, tooLarge ? 413 : 400,
                                  tooLarge ? QString::fromLatin1(route->body.tooLarge)
                                           : QStringLiteral("malformed gzip body"));
                        refusedEarly = true;
                    }
                }
                if (!refusedEarly) {
                    // The handler's time is bounded by its own upstream deadlines, not ours.
                    tcp.expires_never();
                    m_busy = true;
                    try {
                        if (route->asyncHandler)
                            co_await route->asyncHandler(request, response);
                        else
                            route->handler(request, response);
                    } catch (...) {
                        response = HttpResponse{};
                        m_context.failed(request, response, std::current_exception());
                    }
                    m_busy = false;
                }
            }
        }
    }

    keepAlive = keepAlive && !refusedEarly && !m_stopping;
    auto answer = wireAnswer(response, version, keepAlive);
    tcp.expires_after(limits.requestTimeout);
    const auto [writeError, written] = co_await http::async_write(stream, answer, noThrow);
    logRequest(request.method.empty() ? std::string("-") : request.method,
               request.path.empty() ? std::string("-") : request.path, response.status,
               std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now() - started),
               response.accountId);
    if (writeError) {
        closeSocket();
        co_return false;
    }
    if (!keepAlive) {
        co_await closeStream(stream, refusedEarly ? drain : 0);
        co_return false;
    }
    co_return true;
}

} // namespace quillo::server
