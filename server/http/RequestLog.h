// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLoggingCategory>

#include <chrono>
#include <optional>
#include <string>

namespace quillo::server {

Q_DECLARE_LOGGING_CATEGORY(lcHttp)

// One line per answered request: method, path without the query, status, milliseconds and the
// account when a session named one. Never a token, a body or message text.
void logRequest(const std::string& method, const std::string& path, int status,
                std::chrono::milliseconds elapsed, std::optional<qint64> accountId);

} // namespace quillo::server
