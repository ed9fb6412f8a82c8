// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"
#include "WireEnum.h"

namespace quillo {

// How much of what the user writes in a language is corrected without being asked.
enum class CorrectionLevel { Off, WhenAsked, Hindering, Every };

template <>
struct EnumTraits<CorrectionLevel> {
    static constexpr std::array<EnumCase<CorrectionLevel>, 4> cases{{
        {CorrectionLevel::Off, u"OFF", u"Off"},
        {CorrectionLevel::WhenAsked, u"WHEN_ASKED", u"When I ask"},
        {CorrectionLevel::Hindering, u"HINDERING", u"Mistakes that get in the way"},
        {CorrectionLevel::Every, u"EVERY", u"Every mistake"},
    }};
};

// One change to a message: the words as the user wrote them, as they should read, and why.
struct CorrectionEdit {
    QString original;
    QString corrected;
    QString explanation; // in the user's own language

    static Decoded<CorrectionEdit> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const CorrectionEdit&, const CorrectionEdit&) = default;
};

// What a check of one of the user's messages found.
struct Correction {
    QString corrected;           // the whole message as it should read
    QList<CorrectionEdit> edits; // empty: nothing to correct
    QString language;            // the language the message was found to be in, when named
    qint64 checkedAt = 0;        // milliseconds since 1970-01-01 UTC; the later check wins

    // Whether the message `text` needed no change.
    bool isFine(const QString& text) const;

    // `corrected` is required; the rest falls back to its default.
    static Decoded<Correction> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const Correction&, const Correction&) = default;
};

} // namespace quillo
