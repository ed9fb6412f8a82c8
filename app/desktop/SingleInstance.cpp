// SPDX-License-Identifier: Apache-2.0
#include "SingleInstance.h"

#include "store/AppIdentity.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

namespace quillo {

namespace {

// A request is one line of JSON, an array of strings; the answer is "ok".
constexpr qint64 longestRequest = 64 * 1024;

} // namespace

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent)
    , m_socketPath(std::move(socketPath)) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultSocketPath() {
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    return dir + u'/' + AppIdentity::bundleIdentifier() + QStringLiteral(".socket");
}

bool SingleInstance::forwardToRunning(const QStringList& arguments, int timeoutMs) const {
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    QByteArray request =
        QJsonDocument(QJsonArray::fromStringList(arguments)).toJson(QJsonDocument::Compact);
    request.append('\n');
    socket.write(request);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    return socket.readLine().trimmed() == "ok";
}

bool SingleInstance::listen() {
    // Someone listening accepts a connection even while busy; a socket a crash left behind
    // refuses it and is replaced. (Asked first: listening with access options replaces any
    // socket file, a live one too.)
    QLocalSocket probe;
    probe.connectToServer(m_socketPath);
    if (probe.waitForConnected(300))
        return false;
    QLocalServer::removeServer(m_socketPath);
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_socketPath))
        return false;
    connect(m_server.get(), &QLocalServer::newConnection, this, &SingleInstance::accept);
    return true;
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > longestRequest)
                    socket->abort();
                return;
            }
            const QJsonArray request = QJsonDocument::fromJson(socket->readLine()).array();
            QStringList arguments;
            for (const QJsonValue& argument : request)
                arguments.append(argument.toString());
            socket->write("ok\n");
            socket->flush();
            Q_EMIT argumentsReceived(arguments);
        });
    }
}

} // namespace quillo
