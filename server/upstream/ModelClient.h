#pragma once

#include "ModelFailure.h"
#include "common/Result.h"
#include "config/ServerConfig.h"

#include <QJsonArray>
#include <QString>

namespace quillo::server {

// Talks to an OpenAI-compatible chat-completions endpoint. Safe to use from many request
// threads at once (one connection per call).
class ModelClient {
public:
    explicit ModelClient(const ServerConfig& config);

    // POST {model URL}/chat/completions with model, messages, max_tokens, temperature and, in
    // JSON mode, a JSON response format; gives choices[0].message.content.
    Result<QString, ModelFailure> complete(const QJsonArray& messages, int maxTokens,
                                           double temperature) const;

    // Whether the endpoint answers HTTP at all (GET {model URL}/models), for readiness.
    bool reachable() const;

private:
    ServerConfig m_config;
};

} // namespace quillo::server
