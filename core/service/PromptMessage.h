// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/JsonCodec.h"

namespace quillo {

// One entry of the message list sent for a model reply.
struct PromptMessage {
    QString role; // "system", "user" or "assistant"
    QString content;

    static Decoded<PromptMessage> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const PromptMessage&, const PromptMessage&) = default;
};

} // namespace quillo
