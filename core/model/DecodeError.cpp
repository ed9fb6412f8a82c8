// SPDX-License-Identifier: Apache-2.0
#include "DecodeError.h"

namespace quillo {

DecodeError DecodeError::inField(const QString& key) const {
    if (field.isEmpty())
        return {key, problem};
    const QString joiner = field.startsWith(u'[') ? QString() : QStringLiteral(".");
    return {key + joiner + field, problem};
}

DecodeError DecodeError::atIndex(qsizetype index) const {
    const QString position = u'[' + QString::number(index) + u']';
    if (field.isEmpty())
        return {position, problem};
    const QString joiner = field.startsWith(u'[') ? QString() : QStringLiteral(".");
    return {position + joiner + field, problem};
}

QString DecodeError::message() const {
    return field.isEmpty() ? problem : field + QStringLiteral(": ") + problem;
}

} // namespace quillo
