// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"

namespace quillo {

// Reading comfort of the message view. Every field falls back to its default on its own.
struct TextSettings {
    double textSize = 16.0;    // message text, in points
    double lineSpacing = 1.45; // line height multiple of message text
    double readingSize = 10.5; // the small reading line (romanization and glosses), in points
    double readingGap = 1.0;   // between a line of text and its reading line

    static Decoded<TextSettings> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const TextSettings&, const TextSettings&) = default;
};

} // namespace quillo
