// SPDX-License-Identifier: Apache-2.0
#include "Meaning.h"

namespace quillo {

Decoded<Meaning> Meaning::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    Meaning meaning{
        r.required<QString>(QStringLiteral("text")),
        r.strictOptional<QList<QString>>(QStringLiteral("alternatives")).value_or(QStringList())};
    if (r.failed())
        return r.error();
    return meaning;
}

QJsonObject Meaning::toJson() const {
    return {{QStringLiteral("text"), text},
            {QStringLiteral("alternatives"), toJsonValue(alternatives)}};
}

} // namespace quillo
