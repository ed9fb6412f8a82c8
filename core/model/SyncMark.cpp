// SPDX-License-Identifier: Apache-2.0
#include "SyncMark.h"

namespace quillo {

Decoded<SyncMark> SyncMark::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    SyncMark mark{r.required<qint64>(QStringLiteral("syncedAt")),
                  r.strictOptional<QString>(QStringLiteral("fingerprint"))};
    if (r.failed())
        return r.error();
    return mark;
}

QJsonObject SyncMark::toJson() const {
    QJsonObject object{{QStringLiteral("syncedAt"), syncedAt}};
    if (fingerprint)
        object.insert(QStringLiteral("fingerprint"), *fingerprint);
    return object;
}

} // namespace quillo
