#include "Router.h"

#include <httplib.h>

namespace quillo::server {

namespace {

// Route paths are literal; httplib takes them as patterns, so dots must not match anything.
std::string pattern(const std::string& path) {
    std::string escaped;
    for (const char c : path) {
        if (c == '.')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

} // namespace

Router::Router(httplib::Server& server)
    : m_server(server) {}

void Router::get(const std::string& path, Handler handler) {
    m_server.Get(pattern(path), std::move(handler));
    remember(path, "GET");
}

void Router::post(const std::string& path, Handler handler) {
    m_server.Post(pattern(path), std::move(handler));
    remember(path, "POST");
}

void Router::put(const std::string& path, Handler handler) {
    m_server.Put(pattern(path), std::move(handler));
    remember(path, "PUT");
}

void Router::remove(const std::string& path, Handler handler) {
    m_server.Delete(pattern(path), std::move(handler));
    remember(path, "DELETE");
}

std::string Router::allowedMethods(const std::string& path) const {
    const auto found = m_allowed.find(path);
    return found == m_allowed.end() ? std::string() : found->second;
}

void Router::remember(const std::string& path, const char* method) {
    std::string& methods = m_allowed[path];
    if (!methods.empty())
        methods += ", ";
    methods += method;
}

} // namespace quillo::server
