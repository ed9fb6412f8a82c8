// SPDX-License-Identifier: Apache-2.0
#include "BotReply.h"

#include "model/JsonCodec.h"

namespace quillo {

QJsonObject BotReply::toJson() const {
    QJsonObject object{{QStringLiteral("text"), text}};
    if (language)
        object.insert(QStringLiteral("language"), *language);
    if (level)
        object.insert(QStringLiteral("level"), toJsonValue(*level));
    if (remember)
        object.insert(QStringLiteral("remember"), *remember);
    return object;
}

} // namespace quillo
