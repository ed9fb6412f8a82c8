// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace quillo::server {

// How an e-mail address is stored and compared: one account per address, whatever the case or
// the white space it was typed with.
inline QString normalizedEmail(const QString& email) {
    return email.trimmed().toLower();
}

} // namespace quillo::server
