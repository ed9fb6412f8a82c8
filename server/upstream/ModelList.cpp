// SPDX-License-Identifier: Apache-2.0
#include "ModelList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillo::server {

std::optional<QStringList> listedModels(const QByteArray& body) {
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !json.isObject())
        return std::nullopt;
    const QJsonValue data = json.object().value(u"data");
    if (!data.isArray())
        return std::nullopt;
    QStringList ids;
    for (const QJsonValue& entry : data.toArray()) {
        const QString id = entry.toObject().value(u"id").toString().trimmed();
        if (!id.isEmpty() && !ids.contains(id))
            ids.append(id);
    }
    return ids;
}

} // namespace quillo::server
