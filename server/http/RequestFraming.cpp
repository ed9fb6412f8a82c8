// SPDX-License-Identifier: Apache-2.0
#include "RequestFraming.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace quillo::server {

namespace beast = boost::beast;
namespace http = beast::http;

bool sameText(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

std::optional<Refusal> checkHeaders(const RequestHead& parser, const ConnectionLimits& limits,
                                    const Router::Route* route, const Router& router,
                                    std::string_view path) {
    const auto& head = parser.get();
    const size_t fields = size_t(std::distance(head.begin(), head.end()));
    if (fields > limits.maxHeaderFields)
        return Refusal{431, "headers too large"};
    if (head.target().size() > limits.maxTargetBytes)
        return Refusal{414, "address too long"};
    if (head.target().empty() || head.target().front() != '/')
        return Refusal{400, "malformed request"};

    // One way to read where a request ends, and only one: a second length, or a length beside
    // chunked framing, is how a request is smuggled past a proxy.
    const auto lengths = head.count(http::field::content_length);
    const auto encodings = head.count(http::field::transfer_encoding);
    if (lengths > 1 || encodings > 1 || (lengths > 0 && encodings > 0))
        return Refusal{400, "malformed request"};
    if (encodings == 1 && !sameText(trimmed(head[http::field::transfer_encoding]), "chunked"))
        return Refusal{400, "malformed request"};

    if (!route) {
        const std::string allowed = router.allowedMethods(path);
        if (allowed.empty())
            return Refusal{404, "not found"};
        return Refusal{405, "method not allowed", allowed};
    }

    if (head.count(http::field::content_encoding) > 1)
        return Refusal{415, "unsupported content encoding"};
    const std::string_view encoding = trimmed(head[http::field::content_encoding]);
    if (!encoding.empty() && !sameText(encoding, "identity") &&
        !(route->body.gzip && sameText(encoding, "gzip")))
        return Refusal{415, "unsupported content encoding"};

    if (const auto length = parser.content_length(); length && *length > route->body.maxBytes)
        return Refusal{413, route->body.tooLarge};
    return std::nullopt;
}

Refusal refusalOf(const beast::error_code& error, const Router::Route* route) {
    if (error == http::error::header_limit)
        return Refusal{431, "headers too large"};
    if (error == http::error::body_limit)
        return Refusal{413, route ? route->body.tooLarge : "body too large"};
    return Refusal{400, "malformed request"};
}

} // namespace quillo::server
