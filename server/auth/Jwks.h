// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <openssl/types.h>

#include <memory>

namespace quillo::server {

// An RSA public key, shared between the key cache and the requests verifying with it.
using PublicKey = std::shared_ptr<EVP_PKEY>;

// The RSA signature keys of a JSON Web Key Set, by key id.
struct Jwks {
    QMap<QString, PublicKey> keys;

    // Keys of other types or uses, and RSA keys under 2048 or over 8192 bits, are skipped: the
    // set may carry keys we have no use for. A set with no usable key at all is an error.
    static Result<Jwks, QString> parse(const QByteArray& json);

    // GET `url` (http or https) within 5 s, then parse().
    static Result<Jwks, QString> fetch(const QString& url);
};

// Whether `signature` is an RS256 signature (PKCS#1 v1.5 over SHA-256) of `data` by `key`.
bool verifyRs256(EVP_PKEY* key, const QByteArray& data, const QByteArray& signature);

} // namespace quillo::server
