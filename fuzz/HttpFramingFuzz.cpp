// SPDX-License-Identifier: Apache-2.0
// What the service reads from a client before any handler runs: the request line and headers
// (with the checks on framing, limits and routes), query parameters, and gzip bodies.
#include "http/GzipBody.h"
#include "http/HttpMessage.h"
#include "http/RequestFraming.h"
#include "http/Router.h"

#include <boost/asio/buffer.hpp>

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace quillo::server;

namespace {

const Router& routes() {
    static const Router router = [] {
        Router made;
        const auto ignore = [](const HttpRequest&, HttpResponse&) {};
        made.get("/healthz", ignore);
        made.post("/v1/session", BodyRule{16 * 1024}, ignore);
        made.get("/v1/state", ignore);
        made.put("/v1/state", BodyRule{64 * 1024, true}, ignore);
        made.remove("/v1/account", ignore);
        return made;
    }();
    return router;
}

void check(bool holds) {
    if (!holds)
        std::abort();
}

void headers(std::string_view bytes) {
    const ConnectionLimits limits;
    RequestHead head;
    head.header_limit(std::uint32_t(limits.maxHeaderBytes));
    head.body_limit(boost::none);
    boost::beast::error_code error;
    head.put(boost::asio::buffer(bytes.data(), bytes.size()), error);
    if (error == boost::beast::http::error::need_more)
        return;
    if (error) {
        const Refusal refusal = refusalOf(error);
        check(refusal.status == 400 || refusal.status == 413 || refusal.status == 431);
        return;
    }
    if (!head.is_header_done())
        return;
    const std::string_view target = head.get().target();
    const std::string_view path = target.substr(0, target.find('?'));
    const Router::Route* route = routes().find(head.get().method_string(), path);
    const auto refusal = checkHeaders(head, limits, route, routes(), path);
    if (!refusal) {
        // Whatever passes has a route, one framing, and a length within the route's limit.
        check(route != nullptr);
        check(!head.content_length() || *head.content_length() <= route->body.maxBytes);
        check(head.get().count(boost::beast::http::field::content_length) +
                  head.get().count(boost::beast::http::field::transfer_encoding) <=
              1);
    } else {
        check(refusal->status >= 400 && refusal->status < 500);
        check((refusal->status == 405) == !refusal->allow.empty());
    }
    HttpRequest request;
    if (const size_t mark = target.find('?'); mark != std::string_view::npos)
        request.query = std::string(target.substr(mark + 1));
    const auto since = request.parameter("since");
    check(!since || since->size() <= request.query.size());
}

void gzip(std::string_view bytes) {
    constexpr size_t limit = 64 * 1024;
    const auto inflated = inflateGzip(bytes, limit);
    check(!inflated || inflated->size() <= limit);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (data[0] % 2 == 0)
        headers(bytes);
    else
        gzip(bytes);
    return 0;
}
