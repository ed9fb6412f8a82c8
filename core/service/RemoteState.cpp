// SPDX-License-Identifier: Apache-2.0
#include "RemoteState.h"

namespace quillo {

Decoded<RemoteState> RemoteState::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    RemoteState remote{
        r.strictOptional<StoredState>(QStringLiteral("state")),
        r.strictOptional<qint64>(QStringLiteral("updatedAt")).value_or(0),
        r.strictOptional<bool>(QStringLiteral("unchanged")).value_or(false),
    };
    if (r.failed())
        return r.error();
    return remote;
}

} // namespace quillo
