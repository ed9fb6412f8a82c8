// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace quillo {

// `text` as a JSON string literal, quotes included, for JSON that is assembled by hand.
QString jsonQuoted(const QString& text);

// Compact UTF-8 JSON of an object or array (keys sorted, as Qt writes them).
QByteArray compactJson(const QJsonObject& object);
QByteArray compactJson(const QJsonArray& array);

} // namespace quillo
