// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HttpMessage.h"

#include <boost/asio/awaitable.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo::server {

// What a route takes as a body: at most `maxBytes`, counted both as sent and once inflated, and
// gzip only where the route says so. A route without a rule takes no body.
struct BodyRule {
    size_t maxBytes = 0;
    bool gzip = false;
    const char* tooLarge = "body too large"; // the error of the 413
};

// The service's routes by literal path and method, so that a known path asked with another
// method gets a 405 rather than a 404, and so that each route's body rule is known from the
// headers, before any of the body is read.
class Router {
public:
    using Handler = std::function<void(const HttpRequest&, HttpResponse&)>;
    // For a handler that waits on another service: the request and response outlive the wait.
    using AsyncHandler =
        std::function<boost::asio::awaitable<void>(const HttpRequest&, HttpResponse&)>;

    struct Route {
        BodyRule body;
        Handler handler; // one of the two is set
        AsyncHandler asyncHandler;
    };

    void get(const std::string& path, Handler handler);
    void getAsync(const std::string& path, AsyncHandler handler);
    void post(const std::string& path, BodyRule body, Handler handler);
    void postAsync(const std::string& path, BodyRule body, AsyncHandler handler);
    void put(const std::string& path, BodyRule body, Handler handler);
    void remove(const std::string& path, Handler handler); // DELETE

    // Nothing for an unknown path or a method the path does not take.
    const Route* find(std::string_view method, std::string_view path) const;
    // "GET, PUT" for a known path; empty for a path the service does not have.
    std::string allowedMethods(std::string_view path) const;

private:
    void add(const std::string& path, std::string method, Route route);

    // In the order the routes were added, so that Allow lists them that way.
    std::map<std::string, std::vector<std::pair<std::string, Route>>, std::less<>> m_routes;
};

} // namespace quillo::server
