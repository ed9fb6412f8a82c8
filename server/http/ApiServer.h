#pragma once

#include "ApiContext.h"

#include <QString>

#include <atomic>
#include <memory>

namespace httplib {
class Server;
}

namespace quillo::server {

class Router;

// The service's HTTP interface: routes, the JSON error for every failure, request logging and
// the thread pool. It answers with what storage, the model and the ID token verifier say; it
// owns none of them.
class ApiServer {
public:
    ApiServer(ServerConfig config, Storage& storage, ModelClient& model,
              TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier, const Clock& clock);
    ~ApiServer();

    // Binds the configured address; port 0 takes any free port. False when it cannot.
    bool bind();
    // Serves until stop(), binding first when bind() was not called. Requests in flight when
    // stop() is called are finished before it returns. False when the address cannot be bound.
    bool listen();
    // Ends listen(). Safe from any thread, also before listen() has started.
    void stop();

    // The bound port: 0 before bind().
    int port() const { return m_port; }

private:
    void answerFailure(const std::string& path, int status, httplib::Response& response) const;

    ApiContext m_api;
    std::unique_ptr<httplib::Server> m_server;
    std::unique_ptr<Router> m_router;
    int m_port = 0;
    std::atomic<bool> m_stopRequested = false;
    std::atomic<bool> m_listening = false;
};

} // namespace quillo::server
