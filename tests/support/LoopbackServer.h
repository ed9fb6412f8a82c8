// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <httplib.h>

#include <thread>

namespace quillo::testsupport {

// A peer of the tests' own (a model, a key set, a translator, a scripted service) as an HTTP
// server on a free loopback port, serving on a thread of its own between start() and stop().
// Routes and settings go on server() before start().
class LoopbackServer {
public:
    LoopbackServer() = default;
    ~LoopbackServer() { stop(); }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    httplib::Server& server() { return m_server; }

    // Binds a free port on 127.0.0.1 (or `port`, one a test had the kernel pick and let go) and
    // serves; returns once the server accepts. Throws std::runtime_error when the port cannot
    // be had.
    void start(int port = 0);
    // Ends serving and waits for the thread; nothing when not started.
    void stop();

    int port() const { return m_port; }
    // "http://127.0.0.1:PORT" followed by `path`.
    QString url(const QString& path = {}) const;

private:
    httplib::Server m_server;
    std::thread m_thread;
    int m_port = 0;
};

} // namespace quillo::testsupport
