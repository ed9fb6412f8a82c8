// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace quillo {

// Why a JSON value could not be decoded, and where: `field` is a path such as
// "bots[2].displayName", empty when the value itself was wrong.
struct DecodeError {
    QString field;
    QString problem;

    // The same error seen from the enclosing object or list.
    DecodeError inField(const QString& key) const;
    DecodeError atIndex(qsizetype index) const;

    // "bots[2].displayName: missing", or just the problem when there is no path.
    QString message() const;

    friend bool operator==(const DecodeError&, const DecodeError&) = default;
};

} // namespace quillo
