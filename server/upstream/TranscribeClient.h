// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ModelFailure.h"
#include "common/Result.h"
#include "config/ServerConfig.h"

#include <QByteArray>
#include <QString>

#include <boost/asio/awaitable.hpp>

namespace quillo::server {

// Talks to an OpenAI-compatible speech-to-text endpoint. Safe to use from many requests at once
// (one connection per call); a call waiting on the transcriber holds no thread.
class TranscribeClient {
public:
    explicit TranscribeClient(const ServerConfig& config);

    // Whether a transcription endpoint is configured at all.
    bool configured() const;

    // POST {transcribe URL}/audio/transcriptions as multipart/form-data: the WAV as `file`, the
    // model, the ISO 639-1 `language` when there is one, and a JSON response format; gives the
    // answer's "text", trimmed (an empty text is a silent recording, not a failure).
    boost::asio::awaitable<Result<QString, ModelFailure>> transcribe(QByteArray wav,
                                                                     QString language) const;

private:
    ServerConfig m_config;
};

} // namespace quillo::server
