// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"

#include <optional>

namespace quillo {

// Which exchange with the service this document was last brought into step with: the service's
// version stamp and the fingerprint of the account's document as both sides then held it
// (absent when the service held none). It travels inside the document, so that it is written in
// the same atomic write as what it describes and can never be ahead of it or behind it. Kept on
// this device only.
struct SyncMark {
    qint64 syncedAt = 0;
    std::optional<QString> fingerprint;

    // A mark of the wrong shape reads as none: the document merely forgets its last exchange.
    static Decoded<SyncMark> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const SyncMark&, const SyncMark&) = default;
};

} // namespace quillo
