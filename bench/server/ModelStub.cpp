// SPDX-License-Identifier: Apache-2.0
// An OpenAI-compatible model that always gives the same short reply after a fixed delay, for
// measuring the service under load: quillo-model-stub PORT [DELAY_MS]
#include <httplib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s PORT [DELAY_MS]\n", argv[0]);
        return 2;
    }
    const int port = std::atoi(argv[1]);
    const int delayMs = argc > 2 ? std::atoi(argv[2]) : 0;

    httplib::Server server;
    // Enough threads that the stub itself never queues what it is asked to hold.
    server.new_task_queue = [] { return new httplib::ThreadPool(512); };
    server.set_tcp_nodelay(true);
    server.Post("/v1/chat/completions", [delayMs](const httplib::Request&, httplib::Response& res) {
        if (delayMs > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        res.set_content(R"({"choices":[{"message":{"role":"assistant","content":)"
                        R"("{\"message\":\"¡Hola! ¿Qué tal tu día?\",\"remember\":\"\"}"}}]})",
                        "application/json");
    });
    server.Get("/v1/models", [](const httplib::Request&, httplib::Response& res) {
        // The one model it has: the service takes the first listed when none is named.
        res.set_content(R"({"object":"list","data":[{"id":"default","object":"model"}]})",
                        "application/json");
    });
    return server.listen("127.0.0.1", port) ? 0 : 1;
}
