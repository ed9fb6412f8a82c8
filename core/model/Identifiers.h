// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace quillo {

// A random version-4 UUID, lower case, 36 characters with hyphens.
QString newID();

// Wall-clock time in milliseconds since 1970-01-01 UTC.
qint64 nowMillis();

} // namespace quillo
