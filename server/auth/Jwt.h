// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace quillo::server {

// A compact JWS as Google signs ID tokens: RS256 over "header.payload", with the signing key
// named by `kid`. Parsing checks the shape only; the signature and the claims are the caller's.
struct Jwt {
    static constexpr qsizetype maxSize = 16 * 1024; // Google's tokens are about 1 KB

    QJsonObject header;
    QJsonObject payload;
    QString keyId;
    QByteArray signingInput; // the bytes the signature covers: the first two parts as sent
    QByteArray signature;

    // The token, or a short reason it is malformed. Anything but RS256 with a key id is refused
    // here, so that "none" or an HMAC algorithm can never reach the key lookup.
    static Result<Jwt, QString> parse(QByteArrayView compact);
};

// Unpadded base64url as JOSE writes it; nothing when a character is outside the alphabet or the
// length cannot be a whole number of bytes.
std::optional<QByteArray> decodeBase64Url(QByteArrayView text);
QByteArray encodeBase64Url(const QByteArray& data);

} // namespace quillo::server
