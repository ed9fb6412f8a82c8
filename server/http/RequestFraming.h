// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Router.h"

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillo::server {

// What any one client may cost the service, whatever it sends.
struct ConnectionLimits {
    // For the TLS handshake, for a request's headers and body together, for writing an answer,
    // and for an idle keep-alive connection to start its next request.
    std::chrono::milliseconds requestTimeout{30'000};
    size_t maxHeaderBytes = 16 * 1024;
    size_t maxHeaderFields = 64;
    size_t maxTargetBytes = 8 * 1024;
};

// A refusal of the HTTP layer itself, before any handler ran.
struct Refusal {
    Refusal(int code, const char* error, std::string methods = {})
        : status(code)
        , text(error)
        , allow(std::move(methods)) {}

    int status;
    const char* text;
    std::string allow; // for a 405
};

using RequestHead = boost::beast::http::request_parser<boost::beast::http::empty_body>;

// What the headers alone decide: framing that could be read two ways, headers past their
// bounds, a route that does not exist (`route` null) or cannot take this body. Nothing when the
// body may be read.
std::optional<Refusal> checkHeaders(const RequestHead& parser, const ConnectionLimits& limits,
                                    const Router::Route* route, const Router& router,
                                    std::string_view path);

// The answer to a request the parser could not read: too large, or malformed.
Refusal refusalOf(const boost::beast::error_code& error, const Router::Route* route = nullptr);

bool sameText(std::string_view a, std::string_view b);
std::string_view trimmed(std::string_view text);

} // namespace quillo::server
