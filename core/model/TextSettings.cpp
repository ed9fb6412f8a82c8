// SPDX-License-Identifier: Apache-2.0
#include "TextSettings.h"

namespace quillo {

Decoded<TextSettings> TextSettings::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    if (r.failed())
        return r.error();
    const TextSettings defaults;
    return TextSettings{
        r.lenient<double>(QStringLiteral("textSize")).value_or(defaults.textSize),
        r.lenient<double>(QStringLiteral("lineSpacing")).value_or(defaults.lineSpacing),
        r.lenient<double>(QStringLiteral("readingSize")).value_or(defaults.readingSize),
        r.lenient<double>(QStringLiteral("readingGap")).value_or(defaults.readingGap),
    };
}

QJsonObject TextSettings::toJson() const {
    return {
        {QStringLiteral("textSize"), textSize},
        {QStringLiteral("lineSpacing"), lineSpacing},
        {QStringLiteral("readingSize"), readingSize},
        {QStringLiteral("readingGap"), readingGap},
    };
}

} // namespace quillo
