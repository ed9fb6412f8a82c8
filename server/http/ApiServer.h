#pragma once

#include "ApiContext.h"
#include "HttpConnection.h"
#include "Router.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace quillo::server {

// The service's HTTP interface: routes, the JSON error for every failure, request logging, and
// the few threads every connection shares. It answers with what storage, the model and the ID
// token verifier say; it owns none of them.
class ApiServer {
public:
    ApiServer(ServerConfig config, Storage& storage, ModelClient& model,
              TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier, const Clock& clock);
    ~ApiServer();

    // Binds the configured address (and loads the TLS certificate when one is configured);
    // port 0 takes any free port. False, with a log line saying why, when it cannot.
    bool bind();
    // Serves until stop(), binding first when bind() was not called. Requests in flight when
    // stop() is called are finished before it returns; clients still sending a request are cut
    // off. False when the address cannot be bound.
    bool listen();
    // Ends listen(). Safe from any thread, also before listen() has started.
    void stop();

    // The bound port: 0 before bind().
    int port() const { return m_port; }

private:
    boost::asio::awaitable<void> acceptLoop();
    void failed(const HttpRequest& request, HttpResponse& response,
                const std::exception_ptr& error) const;
    void forget(std::uint64_t connection);

    ApiContext m_api;
    Router m_router;
    ConnectionContext m_connections;
    boost::asio::io_context m_io;
    boost::asio::ip::tcp::acceptor m_acceptor;
    std::optional<boost::asio::ssl::context> m_tls;
    int m_port = 0;
    std::atomic<bool> m_stopRequested = false;

    std::mutex m_liveMutex;
    std::map<std::uint64_t, std::weak_ptr<HttpConnection>> m_live;
    std::uint64_t m_nextConnection = 0;
};

} // namespace quillo::server
