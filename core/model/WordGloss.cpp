// SPDX-License-Identifier: Apache-2.0
#include "WordGloss.h"

namespace quillo {

Decoded<WordGloss> WordGloss::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    WordGloss word{r.required<QString>(QStringLiteral("text")),
                   r.required<QString>(QStringLiteral("gloss"))};
    if (r.failed())
        return r.error();
    return word;
}

QJsonObject WordGloss::toJson() const {
    return {{QStringLiteral("text"), text}, {QStringLiteral("gloss"), gloss}};
}

} // namespace quillo
