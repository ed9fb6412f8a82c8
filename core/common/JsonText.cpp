// SPDX-License-Identifier: Apache-2.0
#include "JsonText.h"

#include <QJsonDocument>

namespace quillo {

QString jsonQuoted(const QString& text) {
    // Qt's writer is the reference for escaping; a one-element array is the cheapest wrapper.
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QByteArray compactJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray compactJson(const QJsonArray& array) {
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

} // namespace quillo
