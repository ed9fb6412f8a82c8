// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RequestFraming.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace quillo::server {

class Router;
struct HttpRequest;
struct HttpResponse;

// What a connection needs of the server around it.
struct ConnectionContext {
    const Router& router;
    ConnectionLimits limits;
    // Runs the route's handler and turns what it throws into an answer.
    std::function<void(const HttpRequest&, HttpResponse&, const std::exception_ptr&)> failed;
};

// One client connection: reads each request under the connection's deadline and the route's
// limits, runs its handler, writes the answer, and keeps the connection for the next request
// when both sides want it. It holds no thread while it waits on the client or on a handler's
// upstream call. Everything it does runs on the socket's strand.
class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
public:
    using TlsStream = boost::beast::ssl_stream<boost::beast::tcp_stream>;

    // `tls` null means plain HTTP. The socket's executor must be a strand.
    HttpConnection(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls,
                   const ConnectionContext& context);

    boost::asio::awaitable<void> run();
    // The connection's strand: run() is spawned on it.
    boost::asio::any_io_executor executor() { return lowest().get_executor(); }

    // Ends the connection as soon as no handler runs: at once when it waits on the client,
    // after writing the answer when a handler is running. Safe from any thread.
    void abort();

private:
    template <typename Stream>
    boost::asio::awaitable<void> serve(Stream& stream);
    template <typename Stream>
    boost::asio::awaitable<bool> serveOne(Stream& stream, boost::beast::flat_buffer& buffer);

    boost::beast::tcp_stream& lowest();
    void closeSocket();

    const ConnectionContext& m_context;
    std::string m_remoteAddress;
    std::variant<boost::beast::tcp_stream, TlsStream> m_stream;
    // Touched on the strand only.
    bool m_busy = false;
    bool m_stopping = false;
};

} // namespace quillo::server
