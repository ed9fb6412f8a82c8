// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "auth/GoogleIdTokenVerifier.h"
#include "common/Clock.h"
#include "config/ServerConfig.h"
#include "http/ApiServer.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"
#include "upstream/TranscribeClient.h"
#include "upstream/UpstreamHttp.h"

#include <QLoggingCategory>
#include <QProcessEnvironment>

#include <atomic>
#include <csignal>
#include <pthread.h>
#include <thread>

namespace quillo::server {

namespace {

Q_LOGGING_CATEGORY(lcServer, "quillo.server")

// One line saying where replies come from, or why they cannot come yet.
void logModel(const ModelFinding& found) {
    if (found.endpoint) {
        qCInfo(lcServer).noquote() << "replies come from" << shownUrl(found.endpoint->url)
                                   << "with the model" << found.endpoint->name;
        return;
    }
    qCWarning(lcServer).noquote() << "no model serves replies:" << found.problem
                                  << "(looked for again when a reply is asked for)";
}

int serve(const ServerConfig& config, const sigset_t& stopSignals) {
    const auto storage = openStorage(config.databaseUrl);
    storage->migrate();
    const SystemClock clock;
    ModelClient model(config, clock);
    TranscribeClient transcriber(config);
    GoogleIdTokenVerifier verifier(config.googleJwksUrl, config.googleClientIds, clock);
    ApiServer server(config, *storage, model, transcriber, verifier, clock);
    if (!server.bind()) {
        printError(QStringLiteral("cannot listen on %1:%2")
                       .arg(config.listenHost, QString::number(config.listenPort)));
        return 1;
    }
    qCInfo(lcServer).noquote() << "listening on"
                               << QStringLiteral("%1://%2:%3")
                                      .arg(config.tlsCert.isEmpty() ? QStringLiteral("http")
                                                                    : QStringLiteral("https"),
                                           config.listenHost)
                                      .arg(server.port());
    logModel(model.discovery().lookBlocking());

    // The signals are blocked in every thread and taken here only, so a stop never lands in the
    // middle of a request; stop() lets the requests in flight finish.
    std::atomic<bool> stopping = false;
    std::thread waiter([&] {
        int received = 0;
        sigwait(&stopSignals, &received);
        if (stopping.exchange(true))
            return;
        qCInfo(lcServer).noquote() << "stopping: finishing the requests in flight";
        server.stop();
    });
    const bool served = server.listen();
    // listen() ended by itself: wake the waiter (the signal stays blocked, so this only ends its
    // wait).
    if (!stopping.exchange(true))
        pthread_kill(waiter.native_handle(), SIGUSR1);
    waiter.join();
    if (storage->lost()) {
        printError(QStringLiteral("the database was replaced or deleted while the service ran"));
        return 1;
    }
    qCInfo(lcServer) << "stopped";
    return served ? 0 : 1;
}

} // namespace

int serveCommand(const QStringList& arguments) {
    if (!arguments.isEmpty()) {
        printError(QStringLiteral("serve takes no arguments"));
        return 2;
    }
    const auto config = ServerConfig::fromEnvironment(QProcessEnvironment::systemEnvironment());
    if (!config) {
        printError(config.error());
        return 2;
    }
    // Blocked before any thread starts, so every thread inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    try {
        return serve(*config, stopSignals);
    } catch (const StorageError& failure) {
        printError(QStringLiteral("storage: %1").arg(QString::fromLocal8Bit(failure.what())));
        return 1;
    }
}

} // namespace quillo::server
