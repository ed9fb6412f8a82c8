// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"

#include <QStringList>

namespace quillo {

// A translation: the main rendering and any others the translator offered.
struct Meaning {
    QString text;
    QStringList alternatives;

    static Decoded<Meaning> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const Meaning&, const Meaning&) = default;
};

} // namespace quillo
