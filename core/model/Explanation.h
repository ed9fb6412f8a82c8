// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"

namespace quillo {

// What a passage of a contact's message means where it stands, in the user's own language.
struct Explanation {
    QString meaning;        // its meaning in this sentence
    QString dictionaryForm; // the form a dictionary lists it under
    QString partOfSpeech;   // what kind of word it is
    QString grammarNote;    // empty when the form needs no note

    // `meaning` is required; the rest may be empty.
    static Decoded<Explanation> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const Explanation&, const Explanation&) = default;
};

} // namespace quillo
