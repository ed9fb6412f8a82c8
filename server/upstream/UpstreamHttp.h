#pragma once

#include "ModelFailure.h"

#include <QString>

#include <httplib.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace quillo::server {

// Where an OpenAI-compatible endpoint lives: an origin for the HTTP client and the base path
// the OpenAI paths hang under ("/v1" in "http://host:8080/v1").
struct Endpoint {
    std::string origin;
    std::string basePath;
};

std::optional<Endpoint> parseEndpoint(const QString& text);

// A client of its own for one call; `key`, when there is one, goes as a bearer token.
std::unique_ptr<httplib::Client> clientFor(const Endpoint& endpoint, std::chrono::seconds connect,
                                           std::chrono::seconds read, const QString& key);

// Times one call and tells why it got no usable answer; `who` names the peer in the log.
class UpstreamCall {
public:
    UpstreamCall(QString who, std::chrono::seconds timeout);

    // No HTTP answer at all.
    ModelFailure failure(httplib::Error error) const;
    // An answer that is not a success; nothing when it is one.
    std::optional<ModelFailure> failure(int status) const;

private:
    QString m_who;
    std::chrono::seconds m_timeout;
    std::chrono::steady_clock::time_point m_started;
};

} // namespace quillo::server
