// SPDX-License-Identifier: Apache-2.0
#include "ApiServer.h"

#include "HttpConnection.h"
#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "SignInThrottle.h"
#include "storage/Storage.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace quillo::server {

namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

// Beyond this many open connections new ones are closed at once: each costs a socket and a few
// kilobytes, and the process has only so many descriptors.
constexpr size_t maxConnections = 8192;

std::optional<tcp::endpoint> endpointFor(const QString& host, int port) {
    boost::system::error_code error;
    const auto address = asio::ip::make_address(host.toStdString(), error);
    if (!error)
        return tcp::endpoint(address, asio::ip::port_type(port));
    asio::io_context resolving;
    tcp::resolver resolver(resolving);
    const auto found = resolver.resolve(host.toStdString(), std::to_string(port), error);
    if (error || found.empty())
        return std::nullopt;
    return found.begin()->endpoint();
}

} // namespace

class ApiServer::Listener {
public:
    Listener(ServerConfig config, Storage& storage, ModelClient& model,
             TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier, const Clock& clock);

    bool bind();
    bool listen();
    void stop();
    int port() const { return m_port; }

private:
    asio::awaitable<void> acceptLoop();
    void failed(const HttpRequest& request, HttpResponse& response,
                const std::exception_ptr& error);
    void forget(std::uint64_t connection);

    SignInThrottle m_signInThrottle;
    asio::io_context m_io;
    ApiContext m_api;
    Router m_router;
    ConnectionContext m_connections;
    tcp::acceptor m_acceptor;
    std::optional<asio::ssl::context> m_tls;
    int m_port = 0;
    std::atomic<bool> m_stopRequested = false;

    std::mutex m_liveMutex;
    std::map<std::uint64_t, std::weak_ptr<HttpConnection>> m_live;
    std::uint64_t m_nextConnection = 0;
};

ApiServer::Listener::Listener(ServerConfig config, Storage& storage, ModelClient& model,
                              TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier,
                              const Clock& clock)
    : m_io(std::max(1, config.threads))
    , m_api{std::move(config),  storage, model, transcriber, verifier, clock, m_signInThrottle,
            m_io.get_executor()}
    , m_connections{m_router, ConnectionLimits{}, {}}
    , m_acceptor(m_io) {
    m_connections.limits.requestTimeout =
        std::chrono::milliseconds(std::max(1, m_api.config.requestTimeoutMillis));
    m_connections.failed = [this](const HttpRequest& request, HttpResponse& response,
                                  const std::exception_ptr& error) {
        failed(request, response, error);
    };
    addSessionRoutes(m_router, m_api);
    addAccountRoutes(m_router, m_api);
    addStateRoutes(m_router, m_api);
    addReplyRoutes(m_router, m_api);
    addTranscribeRoutes(m_router, m_api);
    addModelRoutes(m_router, m_api);
    addAppRoutes(m_router, m_api);
}

ApiServer::ApiServer(ServerConfig config, Storage& storage, ModelClient& model,
                     TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier,
                     const Clock& clock)
    : m_listener(std::make_unique<Listener>(std::move(config), storage, model, transcriber,
                                            verifier, clock)) {}

ApiServer::~ApiServer() {
    stop();
}

bool ApiServer::bind() {
    return m_listener->bind();
}

bool ApiServer::listen() {
    return m_listener->listen();
}

void ApiServer::stop() {
    m_listener->stop();
}

int ApiServer::port() const {
    return m_listener->port();
}

bool ApiServer::Listener::bind() {
    if (m_port > 0)
        return true;
    if (!m_api.config.tlsCert.isEmpty()) {
        try {
            m_tls.emplace(asio::ssl::context::tls_server);
            m_tls->set_options(asio::ssl::context::default_workarounds |
                               asio::ssl::context::no_sslv2 | asio::ssl::context::no_sslv3 |
                               asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1);
            m_tls->use_certificate_chain_file(m_api.config.tlsCert.toStdString());
            m_tls->use_private_key_file(m_api.config.tlsKey.toStdString(), asio::ssl::context::pem);
        } catch (const boost::system::system_error& failure) {
            qCWarning(lcHttp).noquote()
                << "cannot use the TLS certificate and key:" << failure.what();
            m_tls.reset();
            return false;
        }
    }
    const auto endpoint = endpointFor(m_api.config.listenHost, m_api.config.listenPort);
    if (!endpoint)
        return false;
    boost::system::error_code error;
    m_acceptor.open(endpoint->protocol(), error);
    if (!error)
        m_acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error)
        m_acceptor.bind(*endpoint, error);
    if (!error)
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
        boost::system::error_code ignored;
        m_acceptor.close(ignored);
        return false;
    }
    m_port = m_acceptor.local_endpoint(error).port();
    return m_port > 0;
}

bool ApiServer::Listener::listen() {
    if (!bind())
        return false;
    if (m_stopRequested)
        return true;
    asio::co_spawn(m_io, acceptLoop(), asio::detached);
    // Every connection shares these few threads; a handler that waits on the model holds none.
    std::vector<std::thread> helpers;
    for (int i = 1; i < std::max(1, m_api.config.threads); ++i)
        helpers.emplace_back([this] { m_io.run(); });
    m_io.run();
    for (auto& helper : helpers)
        helper.join();
    return true;
}

void ApiServer::Listener::stop() {
    if (m_stopRequested.exchange(true))
        return;
    // Runs on the server's threads once listen() runs them; before that, listen() sees the flag.
    asio::post(m_io, [this] {
        boost::system::error_code ignored;
        m_acceptor.close(ignored);
        std::lock_guard lock(m_liveMutex);
        for (const auto& [id, connection] : m_live) {
            if (const auto live = connection.lock())
                live->abort();
        }
    });
}

asio::awaitable<void> ApiServer::Listener::acceptLoop() {
    constexpr auto noThrow = asio::as_tuple(asio::use_awaitable);
    for (;;) {
        auto [error, socket] = co_await m_acceptor.async_accept(asio::make_strand(m_io), noThrow);
        if (error == asio::error::operation_aborted || !m_acceptor.is_open())
            co_return;
        if (error)
            continue; // out of descriptors or the client gave up: the next one may do
        socket.set_option(tcp::no_delay(true), error);
        const auto connection = std::make_shared<HttpConnection>(
            std::move(socket), m_tls ? &*m_tls : nullptr, m_connections);
        std::uint64_t id = 0;
        {
            std::lock_guard lock(m_liveMutex);
            // A stop that already went through the list must not miss this one.
            if (m_live.size() >= maxConnections || m_stopRequested)
                continue;
            id = ++m_nextConnection;
            m_live.emplace(id, connection);
        }
        asio::co_spawn(connection->executor(), connection->run(),
                       [this, id, connection](const std::exception_ptr&) { forget(id); });
    }
}

void ApiServer::Listener::forget(std::uint64_t connection) {
    std::lock_guard lock(m_liveMutex);
    m_live.erase(connection);
}

void ApiServer::Listener::failed(const HttpRequest&, HttpResponse& response,
                                 const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const StorageError& failure) {
        qCWarning(lcHttp).noquote() << "storage failed:" << failure.what();
        sendError(response, 503, QStringLiteral("storage unavailable"));
        // Nothing served from here on could be trusted.
        if (m_api.storage.lost())
            stop();
    } catch (const std::exception& failure) {
        qCWarning(lcHttp).noquote() << "request failed:" << failure.what();
        sendError(response, 500, QStringLiteral("internal error"));
    } catch (...) {
        qCWarning(lcHttp) << "request failed";
        sendError(response, 500, QStringLiteral("internal error"));
    }
}

} // namespace quillo::server
