// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/StoredState.h"

namespace quillo {

// The answer to a download of the user's document.
struct RemoteState {
    std::optional<StoredState> state; // absent when the service has none or nothing newer
    qint64 updatedAt = 0;             // the service's version stamp; 0 when it holds no copy
    bool unchanged = false;           // the service's copy is the one asked about

    // `state`, `updatedAt` and `unchanged` may each be missing or null. A value of the wrong
    // type fails the answer rather than being guessed at, since the sync acts on all three.
    static Decoded<RemoteState> fromJson(const QJsonValue& value);

    friend bool operator==(const RemoteState&, const RemoteState&) = default;
};

} // namespace quillo
