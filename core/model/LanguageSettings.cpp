// SPDX-License-Identifier: Apache-2.0
#include "LanguageSettings.h"

#include "Languages.h"

namespace quillo {

LanguageSettings::LanguageSettings(QString language_, CefrLevel level_, ReplyLength replyLength_,
                                   std::optional<bool> showsRomanization_)
    : language(std::move(language_))
    , level(level_)
    , replyLength(replyLength_)
    , showsRomanization(showsRomanization_.value_or(supportsRomanization(language))) {}

Decoded<LanguageSettings> LanguageSettings::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    const auto language = r.required<QString>(QStringLiteral("language"));
    // Braces: the fields are read, and a first failure reported, in declaration order.
    LanguageSettings settings{
        language, r.strictOptional<CefrLevel>(QStringLiteral("level")).value_or(CefrLevel::A1),
        r.strictOptional<ReplyLength>(QStringLiteral("replyLength")).value_or(ReplyLength::Short),
        r.strictOptional<bool>(QStringLiteral("showsRomanization"))};
    if (r.failed())
        return r.error();
    settings.corrections = r.lenient<CorrectionLevel>(QStringLiteral("corrections"))
                               .value_or(CorrectionLevel::WhenAsked);
    return settings;
}

QJsonObject LanguageSettings::toJson() const {
    QJsonObject object{
        {QStringLiteral("language"), language},
        {QStringLiteral("level"), toJsonValue(level)},
        {QStringLiteral("replyLength"), toJsonValue(replyLength)},
        {QStringLiteral("showsRomanization"), showsRomanization},
    };
    // The default is left out, so documents that never chose one read and write as before.
    if (corrections != CorrectionLevel::WhenAsked)
        object.insert(QStringLiteral("corrections"), toJsonValue(corrections));
    return object;
}

} // namespace quillo
