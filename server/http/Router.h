#pragma once

#include <functional>
#include <map>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace quillo::server {

// Registers the service's routes with the HTTP server and remembers which methods each path
// takes, so that a known path asked with another method gets a 405 rather than a 404.
class Router {
public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    explicit Router(httplib::Server& server);

    void get(const std::string& path, Handler handler);
    void post(const std::string& path, Handler handler);
    void put(const std::string& path, Handler handler);
    void remove(const std::string& path, Handler handler); // DELETE

    // "GET, PUT" for a known path; empty for a path the service does not have.
    std::string allowedMethods(const std::string& path) const;

private:
    void remember(const std::string& path, const char* method);

    httplib::Server& m_server;
    std::map<std::string, std::string> m_allowed;
};

} // namespace quillo::server
