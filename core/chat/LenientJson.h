// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QByteArrayView>
#include <QJsonValue>
#include <QString>

namespace quillo {

struct LenientJsonError {
    qsizetype offset = 0; // byte offset into the input where reading stopped
    QString message;
};

// A JSON reader that also takes what models write when they are sloppy: the JSON5 forms
// (unquoted keys, single-quoted strings, trailing commas, comments and the rest of that
// dialect). Strict JSON reads exactly as QJsonDocument reads it.
class LenientJson {
public:
    static Result<QJsonValue, LenientJsonError> parse(QByteArrayView utf8);
};

} // namespace quillo
