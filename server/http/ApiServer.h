// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ApiContext.h"

#include <memory>

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
    int port() const;

private:
    class Listener;
    std::unique_ptr<Listener> m_listener;
};

} // namespace quillo::server
