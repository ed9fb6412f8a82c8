// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo::server {

// A request as the handlers see it: read in full, its body within the route's limit and
// already inflated. Header values are exactly as sent; only the query is percent-decoded.
struct HttpRequest {
    std::string method;
    std::string path;  // the target up to '?'
    std::string query; // after '?', still encoded
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::string remoteAddress;

    // The first value of a header, matched without regard to case; empty when there is none.
    std::string header(std::string_view name) const;
    // A query parameter, percent-decoded ('+' is a space); nothing when it is absent.
    std::optional<std::string> parameter(std::string_view name) const;
};

// An answer as the handlers write it. The HTTP layer adds the length and the connection headers.
struct HttpResponse {
    int status = 200;
    std::string contentType;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    // The account a session named, for the request's log line.
    std::optional<qint64> accountId;

    // Replaces any earlier value of the header.
    void setHeader(std::string name, std::string value);
};

} // namespace quillo::server
