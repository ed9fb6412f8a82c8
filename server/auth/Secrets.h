// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace quillo::server {

// `bytes` random bytes from the system's secure generator, as unpadded base64url text.
QByteArray randomToken(int bytes = 32);

// The SHA-256 digest of `data` (32 raw bytes). Tokens and access codes are stored only as this.
QByteArray sha256(const QByteArray& data);

// Compares two secrets in time that does not depend on where they differ.
bool constantTimeEquals(const QByteArray& a, const QByteArray& b);

} // namespace quillo::server
