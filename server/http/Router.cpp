// SPDX-License-Identifier: Apache-2.0
#include "Router.h"

namespace quillo::server {

void Router::get(const std::string& path, Handler handler) {
    add(path, "GET", Route{{}, std::move(handler), {}});
}

void Router::getAsync(const std::string& path, AsyncHandler handler) {
    add(path, "GET", Route{{}, {}, std::move(handler)});
}

void Router::post(const std::string& path, BodyRule body, Handler handler) {
    add(path, "POST", Route{body, std::move(handler), {}});
}

void Router::postAsync(const std::string& path, BodyRule body, AsyncHandler handler) {
    add(path, "POST", Route{body, {}, std::move(handler)});
}

void Router::put(const std::string& path, BodyRule body, Handler handler) {
    add(path, "PUT", Route{body, std::move(handler), {}});
}

void Router::remove(const std::string& path, Handler handler) {
    add(path, "DELETE", Route{{}, std::move(handler), {}});
}

const Router::Route* Router::find(std::string_view method, std::string_view path) const {
    const auto found = m_routes.find(path);
    if (found == m_routes.end())
        return nullptr;
    for (const auto& [name, route] : found->second) {
        if (name == method)
            return &route;
    }
    return nullptr;
}

std::string Router::allowedMethods(std::string_view path) const {
    std::string methods;
    const auto found = m_routes.find(path);
    if (found == m_routes.end())
        return methods;
    for (const auto& [name, route] : found->second) {
        if (!methods.empty())
            methods += ", ";
        methods += name;
    }
    return methods;
}

void Router::add(const std::string& path, std::string method, Route route) {
    m_routes[path].emplace_back(std::move(method), std::move(route));
}

} // namespace quillo::server
