// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QLocalServer;

namespace quillo {

// One Quillo per user session. A later start hands its arguments (a sign-in callback URL,
// --open) to the running one over a local socket and exits; a socket left behind by a crash
// is noticed (nobody answers on it) and replaced.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // The socket lives at `socketPath`; by default in the user's runtime directory.
    explicit SingleInstance(QString socketPath = defaultSocketPath(), QObject* parent = nullptr);
    ~SingleInstance() override;

    static QString defaultSocketPath();

    // Gives `arguments` to a running instance; true when it took them. Blocks for at most
    // `timeoutMs` (this runs before the event loop of a process that is about to exit).
    bool forwardToRunning(const QStringList& arguments, int timeoutMs = 2000) const;
    // Becomes the running instance; false when the socket cannot be made.
    bool listen();

Q_SIGNALS:
    void argumentsReceived(const QStringList& arguments);

private:
    void accept();

    QString m_socketPath;
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace quillo
