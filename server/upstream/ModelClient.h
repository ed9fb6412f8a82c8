// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ModelDiscovery.h"
#include "ModelFailure.h"
#include "common/Clock.h"
#include "common/Result.h"
#include "config/ServerConfig.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <boost/asio/awaitable.hpp>

#include <optional>
#include <string>

namespace quillo::server {

// What a one-token check found: the endpoint asked (none when no model was found) and, when it
// gave no answer, why.
struct ModelCheck {
    std::optional<ModelEndpoint> endpoint;
    std::optional<ModelFailure> failure;
};

// Talks to an OpenAI-compatible chat-completions endpoint, the one its discovery finds. Safe to
// use from many requests at once (one connection per call); a call waiting on the model holds no
// thread.
class ModelClient {
public:
    ModelClient(const ServerConfig& config, const Clock& clock);

    // POST {model URL}/chat/completions with model, messages, max_tokens, temperature and, in
    // JSON mode, a JSON response format; gives choices[0].message.content. Without a model found
    // the failure is Unreachable; an endpoint that stops answering is forgotten, so that the next
    // call looks again, and one that answers is the finding.
    boost::asio::awaitable<Result<QString, ModelFailure>>
    complete(QJsonArray messages, int maxTokens, double temperature);

    // Asks for a reply of one token, in plain mode: any completion will do, even an empty one.
    boost::asio::awaitable<ModelCheck> check();

    ModelDiscovery& discovery() { return m_discovery; }

private:
    // The answer of {endpoint}/chat/completions to `request`, when it is a success.
    boost::asio::awaitable<Result<std::string, ModelFailure>> post(ModelEndpoint endpoint,
                                                                   QJsonObject request);

    ServerConfig m_config;
    ModelDiscovery m_discovery;
};

} // namespace quillo::server
