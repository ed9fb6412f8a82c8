// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/CefrLevel.h"

#include <QJsonObject>
#include <QString>

#include <optional>

namespace quillo {

// A contact's parsed reply: the visible message and what the model said beside it.
struct BotReply {
    QString text;                    // never empty, at most the line limit
    std::optional<QString> language; // only read for an "Any language" contact
    std::optional<CefrLevel> level;  // only read for an "Any language" contact
    std::optional<QString> remember; // one new fact about the user

    // The reply as an object; absent values are left out.
    QJsonObject toJson() const;

    friend bool operator==(const BotReply&, const BotReply&) = default;
};

} // namespace quillo
