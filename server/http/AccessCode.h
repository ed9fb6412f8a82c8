// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

namespace quillo::server {

// Access codes are what `quillo-server invite` hands out for signing in without Google. People
// read them off one screen and type them on another, so they use an alphabet without look-alikes
// and come in groups: "7KQ2-M9XD-4HWR-ZP3B" (80 random bits).
QString newAccessCode();

// The form a typed code is hashed and stored in: case, spaces and hyphens do not matter, and
// O reads as 0, I and L as 1.
QByteArray normalizedAccessCode(const QString& typed);

} // namespace quillo::server
