#pragma once

#include "ModelFailure.h"
#include "common/Result.h"
#include "config/ServerConfig.h"

#include <QByteArray>
#include <QString>

namespace quillo::server {

// Talks to an OpenAI-compatible speech-to-text endpoint. Safe to use from many request threads
// at once (one connection per call).
class TranscribeClient {
public:
    explicit TranscribeClient(const ServerConfig& config);

    // Whether a transcription endpoint is configured at all.
    bool configured() const;

    // POST {transcribe URL}/audio/transcriptions as multipart/form-data: the WAV as `file`, the
    // model, the ISO 639-1 `language` when there is one, and a JSON response format; gives the
    // answer's "text", trimmed (an empty text is a silent recording, not a failure).
    Result<QString, ModelFailure> transcribe(const QByteArray& wav, const QString& language) const;

private:
    ServerConfig m_config;
};

} // namespace quillo::server
