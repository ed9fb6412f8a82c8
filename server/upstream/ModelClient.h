// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ModelFailure.h"
#include "common/Result.h"
#include "config/ServerConfig.h"

#include <QJsonArray>
#include <QString>

#include <boost/asio/awaitable.hpp>

namespace quillo::server {

// Talks to an OpenAI-compatible chat-completions endpoint. Safe to use from many requests at
// once (one connection per call); a call waiting on the model holds no thread.
class ModelClient {
public:
    explicit ModelClient(const ServerConfig& config);

    // POST {model URL}/chat/completions with model, messages, max_tokens, temperature and, in
    // JSON mode, a JSON response format; gives choices[0].message.content.
    boost::asio::awaitable<Result<QString, ModelFailure>>
    complete(QJsonArray messages, int maxTokens, double temperature) const;

    // Whether the endpoint answers HTTP at all (GET {model URL}/models), for readiness.
    boost::asio::awaitable<bool> reachable() const;

private:
    ServerConfig m_config;
};

} // namespace quillo::server
