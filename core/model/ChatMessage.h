// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Correction.h"
#include "JsonCodec.h"
#include "MessageRole.h"
#include "MessageSource.h"
#include "WordGloss.h"

namespace quillo {

// One message of a chat, written by the user or by the contact `botId`.
struct ChatMessage {
    QString id;
    QString botId;
    MessageRole role = MessageRole::User;
    QString text;
    QList<WordGloss> words; // per-word glosses, empty until glossed
    qint64 createdAt = 0;   // milliseconds since 1970-01-01 UTC
    MessageSource source = MessageSource::User;
    QString language; // set for replies of an "Any language" contact
    // What a check of the user's message found; absent until it was checked.
    std::optional<Correction> correction = std::nullopt;

    static Decoded<ChatMessage> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const ChatMessage&, const ChatMessage&) = default;
};

} // namespace quillo
