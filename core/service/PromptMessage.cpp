// SPDX-License-Identifier: Apache-2.0
#include "PromptMessage.h"

namespace quillo {

Decoded<PromptMessage> PromptMessage::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    PromptMessage message{r.required<QString>(QStringLiteral("role")),
                          r.required<QString>(QStringLiteral("content"))};
    if (r.failed())
        return r.error();
    return message;
}

QJsonObject PromptMessage::toJson() const {
    return {{QStringLiteral("role"), role}, {QStringLiteral("content"), content}};
}

} // namespace quillo
