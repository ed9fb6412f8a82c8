// SPDX-License-Identifier: Apache-2.0
#include "Secrets.h"

#include <QCryptographicHash>
#include <QList>
#include <QRandomGenerator>

#include <openssl/crypto.h>

#include <cstring>

namespace quillo::server {

QByteArray randomToken(int bytes) {
    if (bytes <= 0)
        return {};
    // The system generator reads the kernel's CSPRNG: fit for session tokens and access codes.
    QList<quint32> words((bytes + 3) / 4);
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    QByteArray raw(bytes, Qt::Uninitialized);
    std::memcpy(raw.data(), words.constData(), size_t(bytes));
    return raw.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray sha256(const QByteArray& data) {
    return QCryptographicHash::hash(data, QCryptographicHash::Sha256);
}

bool constantTimeEquals(const QByteArray& a, const QByteArray& b) {
    // Only the length may leak, and what we compare are digests of one fixed size.
    if (a.size() != b.size())
        return false;
    return CRYPTO_memcmp(a.constData(), b.constData(), size_t(a.size())) == 0;
}

} // namespace quillo::server
