// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ModelFailure.h"
#include "common/Result.h"

#include <QString>

#include <boost/asio/awaitable.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace quillo::server {

// Where an OpenAI-compatible endpoint lives: "https://host:8443/v1" is host, port 8443, TLS,
// and the base path the OpenAI paths hang under.
struct Endpoint {
    bool tls = false;
    std::string host; // without the brackets of an IPv6 address
    std::string port;
    std::string basePath;
};

std::optional<Endpoint> parseEndpoint(const QString& text);

// An endpoint's URL as answers and the log show it: without user info, query or fragment, which
// may carry a key.
QString shownUrl(const QString& text);

struct UpstreamRequest {
    std::string method = "POST";
    std::string path; // under the endpoint's base path
    std::string contentType;
    std::string body;
    QString key; // sent as a bearer token when there is one
};

struct UpstreamAnswer {
    int status = 0;
    std::string body;
};

// One request over a connection of its own, on the calling coroutine's executor: connecting
// may take up to ten seconds (less when `timeout` is shorter), the whole exchange `timeout`.
// Failures name `who` for the log. Answers larger than any model sends are a failure too.
boost::asio::awaitable<Result<UpstreamAnswer, ModelFailure>>
callUpstream(QString who, Endpoint endpoint, UpstreamRequest request, std::chrono::seconds timeout);

// The same call for code that is not a coroutine: it runs on an event loop of its own on this
// thread, and returns when the call is done.
Result<UpstreamAnswer, ModelFailure> callUpstreamBlocking(QString who, Endpoint endpoint,
                                                          UpstreamRequest request,
                                                          std::chrono::seconds timeout);

// An answer that is not a success; nothing when it is one.
std::optional<ModelFailure> failureOf(const QString& who, int status);

} // namespace quillo::server
