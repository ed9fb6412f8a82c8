// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CefrLevel.h"
#include "Correction.h"
#include "JsonCodec.h"
#include "ReplyLength.h"

#include <optional>

namespace quillo {

// The user's settings for one practised language; identified by `language`.
struct LanguageSettings {
    QString language; // English name as the user typed or picked it ("Spanish")
    CefrLevel level = CefrLevel::A1;
    ReplyLength replyLength = ReplyLength::Short;
    bool showsRomanization = false;
    CorrectionLevel corrections = CorrectionLevel::WhenAsked;

    LanguageSettings() = default;
    // Without an explicit choice the reading line is on exactly for languages that have one.
    explicit LanguageSettings(QString language, CefrLevel level = CefrLevel::A1,
                              ReplyLength replyLength = ReplyLength::Short,
                              std::optional<bool> showsRomanization = std::nullopt);

    const QString& id() const { return language; }

    static Decoded<LanguageSettings> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const LanguageSettings&, const LanguageSettings&) = default;
};

} // namespace quillo
