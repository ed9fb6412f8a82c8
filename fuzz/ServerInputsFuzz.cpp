// SPDX-License-Identifier: Apache-2.0
// What the service reads from strangers: ID tokens, key sets, uploaded state bodies, dictated
// recordings and a model server's list of models. None of them may crash it, an accepted
// upload's document bytes are a span of the body that reads as a JSON object whose setup the
// guard against undoing it reads alike, an accepted recording's samples lie within it, and a
// listed model's name is neither blank nor padded nor listed twice.
#include "auth/Jwks.h"
#include "auth/Jwt.h"
#include "dictation/WavFile.h"
#include "http/StateUpload.h"
#include "upstream/ModelList.h"

#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

using namespace quillo::server;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));

    if (const auto token = Jwt::parse(input); token.ok()) {
        if (token->keyId.isEmpty() || !input.startsWith(token->signingInput))
            std::abort();
    }
    (void)Jwks::parse(input);
    if (const auto decoded = decodeBase64Url(input))
        (void)encodeBase64Url(*decoded);

    if (const auto upload = StateUpload::parse(input); upload.ok()) {
        if (!input.contains(upload->stateBytes) || upload->baseUpdatedAt < 0 ||
            !QJsonDocument::fromJson(upload->stateBytes).isObject())
            std::abort();
        // The setup guard reads a stored document as the decoder read it when it came in.
        if (setupCompletedIn(upload->stateBytes) != upload->setupCompleted)
            std::abort();
    }
    (void)setupCompletedIn(input);
    if (const auto span = memberSpan(input, QStringLiteral("state"))) {
        if (span->first < 0 || span->first > span->second || span->second > input.size())
            std::abort();
    }
    if (const auto wav = quillo::wav::layout(input); wav.ok()) {
        if (wav->channels < 1 || wav->sampleRate < 4'000 || wav->dataBytes < 2 ||
            wav->dataOffset < 20 || wav->dataOffset + wav->dataBytes > input.size())
            std::abort();
    }
    if (const auto models = listedModels(input)) {
        for (const QString& id : *models) {
            if (id.isEmpty() || id != id.trimmed() || models->count(id) != 1)
                std::abort();
        }
    }
    return 0;
}
