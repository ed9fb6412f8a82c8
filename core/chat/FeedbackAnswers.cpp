// SPDX-License-Identifier: Apache-2.0
#include "FeedbackAnswers.h"

#include "chat/ReplyParser.h"
#include "model/TextHelpers.h"

#include <QJsonArray>

namespace quillo {

QJsonObject SayItAnswer::toJson() const {
    return {{QStringLiteral("sentence"), sentence}, {QStringLiteral("note"), note}};
}

namespace FeedbackAnswers {

namespace {

std::optional<QJsonObject> answerObject(const QString& raw) {
    return ReplyParser::read(raw).object;
}

// A string member, trimmed; nothing when it is missing or of another kind.
std::optional<QString> text(const QJsonObject& object, const QString& key) {
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return trimmedText(value.toString());
}

QString textOrEmpty(const QJsonObject& object, const QString& key) {
    return text(object, key).value_or(QString());
}

} // namespace

std::optional<Correction> correction(const QString& raw, const QString& original) {
    const auto object = answerObject(raw);
    if (!object)
        return std::nullopt;
    const auto corrected = text(*object, QStringLiteral("corrected"));
    const QJsonValue editsValue = object->value(QStringLiteral("edits"));
    if (!corrected || !(editsValue.isArray() || editsValue.isUndefined() || editsValue.isNull()))
        return std::nullopt;

    Correction found;
    found.language = textOrEmpty(*object, QStringLiteral("language"));
    for (const QJsonValue& each : editsValue.toArray()) {
        const QJsonObject edit = each.toObject();
        const auto was = text(edit, QStringLiteral("original"));
        const auto now = text(edit, QStringLiteral("corrected"));
        if (!was || !now || was->isEmpty() || *was == *now)
            continue;
        found.edits.append({*was, *now, textOrEmpty(edit, QStringLiteral("explanation"))});
    }
    if (corrected->isEmpty()) {
        // Edits without the message they make would be a correction nobody can show.
        if (!found.edits.isEmpty())
            return std::nullopt;
        found.corrected = trimmedText(original);
    } else {
        found.corrected = *corrected;
    }
    if (found.corrected == trimmedText(original))
        found.edits.clear();
    return found;
}

std::optional<Explanation> explanation(const QString& raw) {
    const auto object = answerObject(raw);
    if (!object)
        return std::nullopt;
    const QString meaning = textOrEmpty(*object, QStringLiteral("meaning"));
    if (meaning.isEmpty())
        return std::nullopt;
    return Explanation{meaning, textOrEmpty(*object, QStringLiteral("dictionaryForm")),
                       textOrEmpty(*object, QStringLiteral("partOfSpeech")),
                       textOrEmpty(*object, QStringLiteral("grammarNote"))};
}

std::optional<SayItAnswer> sayIt(const QString& raw) {
    const auto object = answerObject(raw);
    if (!object)
        return std::nullopt;
    const QString sentence = textOrEmpty(*object, QStringLiteral("sentence"));
    if (sentence.isEmpty())
        return std::nullopt;
    return SayItAnswer{sentence, textOrEmpty(*object, QStringLiteral("note"))};
}

} // namespace FeedbackAnswers

} // namespace quillo
