#pragma once

#include <QLoggingCategory>

#include <string>

namespace quillo::server {

Q_DECLARE_LOGGING_CATEGORY(lcHttp)

// One line per request: method, path without the query, status, milliseconds and the account
// when a session named one. Never a token, a body or message text. The bookkeeping lives on the
// request's worker thread, which runs a request from routing to the written answer.
class RequestLog {
public:
    // Routing starts: the clock of this request begins.
    static void begin();
    static void setAccount(qint64 accountId);
    // The answer is written: logs the line and forgets the request.
    static void finish(const std::string& method, const std::string& path, int status);
};

} // namespace quillo::server
