// SPDX-License-Identifier: Apache-2.0
#include "LoopbackServer.h"

#include <stdexcept>

namespace quillo::testsupport {

void LoopbackServer::start(int port) {
    m_port = port > 0 ? (m_server.bind_to_port("127.0.0.1", port) ? port : -1)
                      : m_server.bind_to_any_port("127.0.0.1");
    if (m_port <= 0)
        throw std::runtime_error("no loopback port for a test server");
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    // stop() only ends a server whose accept loop runs; the socket accepts already, so this is
    // brief.
    while (!m_server.is_running())
        std::this_thread::yield();
}

void LoopbackServer::stop() {
    if (!m_thread.joinable())
        return;
    m_server.stop();
    m_thread.join();
}

QString LoopbackServer::url(const QString& path) const {
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port) + path;
}

} // namespace quillo::testsupport
