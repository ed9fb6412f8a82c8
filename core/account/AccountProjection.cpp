// SPDX-License-Identifier: Apache-2.0
#include "AccountProjection.h"

#include "model/DocumentWriter.h"

#include <QCoroFuture>
#include <QCryptographicHash>
#include <QtConcurrent>

namespace quillo {

AccountProjection AccountProjection::of(const StoredState& document) {
    AccountProjection projection;
    projection.state = document.forAccount();
    projection.bytes = compactDocumentJson(projection.state);
    projection.fingerprint = fingerprintOf(projection.bytes);
    return projection;
}

QString AccountProjection::fingerprintOf(const QByteArray& bytes) {
    return QString::fromLatin1(
        QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toBase64());
}

QCoro::Task<AccountProjection> AccountProjection::inBackground(StoredState document) {
    // Named, not a temporary inside the co_await: GCC 12 may destroy such a temporary twice.
    QFuture<AccountProjection> encoding = QtConcurrent::run([document] { return of(document); });
    co_return co_await encoding;
}

} // namespace quillo
