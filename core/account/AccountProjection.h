// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/StoredState.h"

#include <QByteArray>
#include <QCoroTask>
#include <QString>

namespace quillo {

// What is exchanged with the service: the document's account projection, its canonical bytes
// (compact JSON with sorted keys, so equal documents give equal bytes) and their fingerprint.
struct AccountProjection {
    StoredState state;
    QByteArray bytes;
    QString fingerprint;

    static AccountProjection of(const StoredState& document);

    // SHA-256 of `bytes` in standard Base64: 44 characters with padding.
    static QString fingerprintOf(const QByteArray& bytes);

    // `of`, worked out on a pool thread: at a hundred thousand messages the encoding takes a
    // good part of a second, which the main thread must not spend. The document is a value whose
    // lists are shared read-only, so handing it over is safe.
    static QCoro::Task<AccountProjection> inBackground(StoredState document);
};

} // namespace quillo
