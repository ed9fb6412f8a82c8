// SPDX-License-Identifier: Apache-2.0
#include "Correction.h"

#include "TextHelpers.h"

namespace quillo {

Decoded<CorrectionEdit> CorrectionEdit::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    CorrectionEdit edit;
    edit.original = r.required<QString>(QStringLiteral("original"));
    edit.corrected = r.required<QString>(QStringLiteral("corrected"));
    edit.explanation = r.lenient<QString>(QStringLiteral("explanation")).value_or(QString());
    if (r.failed())
        return r.error();
    return edit;
}

QJsonObject CorrectionEdit::toJson() const {
    return {
        {QStringLiteral("original"), original},
        {QStringLiteral("corrected"), corrected},
        {QStringLiteral("explanation"), explanation},
    };
}

bool Correction::isFine(const QString& text) const {
    return edits.isEmpty() || trimmedText(corrected) == trimmedText(text);
}

Decoded<Correction> Correction::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    Correction correction;
    correction.corrected = r.required<QString>(QStringLiteral("corrected"));
    correction.edits = r.strictOptional<QList<CorrectionEdit>>(QStringLiteral("edits"))
                           .value_or(QList<CorrectionEdit>());
    if (r.failed())
        return r.error();
    correction.language = r.lenient<QString>(QStringLiteral("language")).value_or(QString());
    correction.checkedAt = r.lenient<qint64>(QStringLiteral("checkedAt")).value_or(0);
    return correction;
}

QJsonObject Correction::toJson() const {
    return {
        {QStringLiteral("corrected"), corrected},
        {QStringLiteral("edits"), toJsonValue(edits)},
        {QStringLiteral("language"), language},
        {QStringLiteral("checkedAt"), checkedAt},
    };
}

} // namespace quillo
