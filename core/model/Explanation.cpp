// SPDX-License-Identifier: Apache-2.0
#include "Explanation.h"

namespace quillo {

Decoded<Explanation> Explanation::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    Explanation explanation;
    explanation.meaning = r.required<QString>(QStringLiteral("meaning"));
    if (r.failed())
        return r.error();
    const auto text = [&r](const char* key) {
        return r.lenient<QString>(QString::fromLatin1(key)).value_or(QString());
    };
    explanation.dictionaryForm = text("dictionaryForm");
    explanation.partOfSpeech = text("partOfSpeech");
    explanation.grammarNote = text("grammarNote");
    return explanation;
}

QJsonObject Explanation::toJson() const {
    return {
        {QStringLiteral("meaning"), meaning},
        {QStringLiteral("dictionaryForm"), dictionaryForm},
        {QStringLiteral("partOfSpeech"), partOfSpeech},
        {QStringLiteral("grammarNote"), grammarNote},
    };
}

} // namespace quillo
