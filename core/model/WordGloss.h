// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"

#include <QHashFunctions>

namespace quillo {

// One word of a message with its translation into the user's language.
struct WordGloss {
    QString text;  // the word as written
    QString gloss; // its translation

    static Decoded<WordGloss> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const WordGloss&, const WordGloss&) = default;
};

inline size_t qHash(const WordGloss& word, size_t seed = 0) {
    return qHashMulti(seed, word.text, word.gloss);
}

} // namespace quillo
