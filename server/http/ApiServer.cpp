#include "ApiServer.h"

#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"

#include <httplib.h>

#include <thread>

namespace quillo::server {

ApiServer::ApiServer(ServerConfig config, Storage& storage, ModelClient& model,
                     TranscribeClient& transcriber, GoogleIdTokenVerifier& verifier,
                     const Clock& clock)
    : m_api{std::move(config), storage, model, transcriber, verifier, clock}
    , m_server(std::make_unique<httplib::Server>())
    , m_router(std::make_unique<Router>(*m_server)) {
    const size_t threads = size_t(std::max(1, m_api.config.threads));
    m_server->new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    // Small JSON answers must not wait for the client's delayed acknowledgement.
    m_server->set_tcp_nodelay(true);
    m_server->set_payload_max_length(size_t(std::max<qint64>(0, m_api.config.maxBodyBytes)));

    m_server->set_pre_routing_handler([](const httplib::Request&, httplib::Response&) {
        RequestLog::begin();
        return httplib::Server::HandlerResponse::Unhandled;
    });
    m_server->set_logger([](const httplib::Request& request, const httplib::Response& response) {
        RequestLog::finish(request.method, request.path, response.status);
    });
    // Called for every answer of 400 or more: the handlers' own errors already have their body;
    // what the HTTP layer refused by itself (unknown route, body too large) gets one here.
    m_server->set_error_handler(httplib::Server::HandlerWithResponse(
        [this](const httplib::Request& request, httplib::Response& response) {
            if (response.body.empty())
                answerFailure(request.path, response.status, response);
            return httplib::Server::HandlerResponse::Handled;
        }));
    m_server->set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
            try {
                std::rethrow_exception(error);
            } catch (const StorageError& failure) {
                qCWarning(lcHttp).noquote() << "storage failed:" << failure.what();
                sendError(response, 503, QStringLiteral("storage unavailable"));
            } catch (const std::exception& failure) {
                qCWarning(lcHttp).noquote() << "request failed:" << failure.what();
                sendError(response, 500, QStringLiteral("internal error"));
            } catch (...) {
                qCWarning(lcHttp) << "request failed";
                sendError(response, 500, QStringLiteral("internal error"));
            }
        });

    addSessionRoutes(*m_router, m_api);
    addAccountRoutes(*m_router, m_api);
    addStateRoutes(*m_router, m_api);
    addReplyRoutes(*m_router, m_api);
    addTranscribeRoutes(*m_router, m_api);
    addAppRoutes(*m_router, m_api);
}

ApiServer::~ApiServer() {
    stop();
}

bool ApiServer::bind() {
    if (m_port > 0)
        return true;
    const std::string host = m_api.config.listenHost.toStdString();
    const int wanted = m_api.config.listenPort;
    if (wanted == 0)
        m_port = std::max(0, m_server->bind_to_any_port(host));
    else if (m_server->bind_to_port(host, wanted))
        m_port = wanted;
    return m_port > 0;
}

bool ApiServer::listen() {
    if (!bind())
        return false;
    // Paired with stop(): whichever of the two comes second sees the other's flag.
    m_listening = true;
    if (m_stopRequested) {
        m_listening = false;
        return true;
    }
    const bool served = m_server->listen_after_bind();
    m_listening = false;
    return served;
}

void ApiServer::stop() {
    m_stopRequested = true;
    // httplib ignores stop() until its accept loop runs, which is a moment after listen() began.
    while (m_listening && !m_server->is_running())
        std::this_thread::yield();
    m_server->stop();
}

void ApiServer::answerFailure(const std::string& path, int status,
                              httplib::Response& response) const {
    switch (status) {
    case 404: {
        const std::string allowed = m_router->allowedMethods(path);
        if (allowed.empty())
            return sendError(response, 404, QStringLiteral("not found"));
        response.set_header("Allow", allowed);
        return sendError(response, 405, QStringLiteral("method not allowed"));
    }
    case 413:
        return sendError(response, 413, QStringLiteral("body too large"));
    case 414:
        return sendError(response, 414, QStringLiteral("address too long"));
    case 400:
        return sendError(response, 400, QStringLiteral("malformed request"));
    default:
        return sendError(response, status, QStringLiteral("request failed"));
    }
}

} // namespace quillo::server
