// SPDX-License-Identifier: Apache-2.0
// What a client on the network can make the service do, tried as an attacker would: every
// request here is refused, or answered at the cost of an ordinary one, and the service carries
// on. Each socket wait is bounded, so a service that fails a case fails the test, not the run.
#include "ServerTestSupport.h"

#include <sys/resource.h>
#include <sys/time.h>

#include <zlib.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;
using namespace std::chrono_literals;

namespace {

// A client that writes bytes as they are, for what no HTTP library would send.
class RawClient {
public:
    explicit RawClient(int port) {
        m_fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(uint16_t(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_connected = ::connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawClient() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool connected() const { return m_connected; }

    // False once the service has closed or reset the connection.
    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(size_t(sent));
        }
        return true;
    }

    // What arrives until the service closes the connection or `wait` passes without a byte.
    std::string receive(std::chrono::milliseconds wait = 5s) {
        timeval timeout{};
        timeout.tv_sec = wait.count() / 1000;
        timeout.tv_usec = (wait.count() % 1000) * 1000;
        ::setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        std::string received;
        char buffer[16 * 1024];
        for (;;) {
            const ssize_t got = ::recv(m_fd, buffer, sizeof buffer, 0);
            if (got <= 0) {
                m_closed = got == 0 || errno == ECONNRESET;
                return received;
            }
            received.append(buffer, size_t(got));
        }
    }

    // Whether the service closed the connection (rather than the wait running out).
    bool closed() const { return m_closed; }

private:
    int m_fd = -1;
    bool m_connected = false;
    bool m_closed = false;
};

// The status of the first answer in `received`; 0 when there is none.
int statusOf(const std::string& received) {
    if (received.rfind("HTTP/1.1 ", 0) != 0 || received.size() < 12)
        return 0;
    return std::stoi(received.substr(9, 3));
}

int answersIn(const std::string& received) {
    int answers = 0;
    for (size_t at = received.find("HTTP/1.1 "); at != std::string::npos;
         at = received.find("HTTP/1.1 ", at + 1))
        ++answers;
    return answers;
}

std::string gzipped(const std::string& plain) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 9, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, uLong(plain.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
    stream.avail_in = uInt(plain.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

// Asks the service to close the connection after its answer, so that reading until the end
// returns at once.
std::string request(const std::string& method, const std::string& path, const std::string& headers,
                    const std::string& body = {}) {
    return method + ' ' + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n" + headers +
           "\r\n" + body;
}

// The same, on a connection the client would keep.
std::string keptRequest(const std::string& method, const std::string& path,
                        const std::string& headers, const std::string& body = {}) {
    return method + ' ' + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + "\r\n" + body;
}

class ApiHardening : public ApiTest {
protected:
    std::string bearer(const QString& token) {
        return "Authorization: Bearer " + token.toStdString() + "\r\n";
    }

    // One request on a connection of its own; what came back.
    std::string exchange(const std::string& bytes) {
        RawClient client(port());
        EXPECT_TRUE(client.connected());
        client.send(bytes);
        return client.receive();
    }
};

TEST_F(ApiHardening, RangeIsIgnored) {
    std::string ranges = "Range: bytes=0-0";
    for (int i = 0; i < 3000; ++i)
        ranges += ",0-0";
    const std::string health = exchange(request("GET", "/healthz", ranges + "\r\n"));
    EXPECT_EQ(statusOf(health), 200);
    EXPECT_LT(health.size(), 400u) << health.substr(0, 200);
    EXPECT_EQ(health.find("multipart"), std::string::npos);

    const QString token = signIn(QStringLiteral("ana@example.com"));
    ASSERT_EQ(send("PUT", "/v1/state", "{\"state\":{},\"baseUpdatedAt\":0}", token).status, 200);
    const std::string state =
        exchange(request("GET", "/v1/state?since=0", bearer(token) + ranges + "\r\n"));
    EXPECT_EQ(statusOf(state), 200);
    EXPECT_EQ(state.find("multipart"), std::string::npos);
    EXPECT_EQ(answersIn(state), 1);
}

// Each route's limit is known from its headers: the answer comes before the body is sent.
TEST_F(ApiHardening, BodiesOverTheRouteLimitAreRefusedFromTheirHeaders) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const struct {
        const char* path;
        size_t limit;
        const char* error;
    } routes[] = {
        {"/v1/session", 16 * 1024, "body too large"},
        {"/v1/reply", 1024 * 1024, "body too large"},
        {"/v1/transcribe", 4 * 1024 * 1024, "audio too large"},
    };
    for (const auto& route : routes) {
        RawClient client(port());
        client.send(
            request("POST", route.path,
                    bearer(token) + "Content-Length: " + std::to_string(route.limit + 1) + "\r\n"));
        const std::string answer = client.receive(3s);
        EXPECT_EQ(statusOf(answer), 413) << route.path;
        EXPECT_NE(answer.find(route.error), std::string::npos) << route.path;
    }
    // The document's limit is the configured one.
    RawClient document(port());
    document.send(request(
        "PUT", "/v1/state",
        bearer(token) + "Content-Length: " + std::to_string(config.maxBodyBytes + 1) + "\r\n"));
    EXPECT_EQ(statusOf(document.receive(3s)), 413);

    // Chunked framing is held to the same limit, counted as it arrives.
    RawClient chunked(port());
    chunked.send(request("POST", "/v1/session", "Transfer-Encoding: chunked\r\n"));
    const std::string chunk = "1000\r\n" + std::string(0x1000, 'x') + "\r\n";
    for (int i = 0; i < 256 && chunked.send(chunk); ++i) {
    }
    EXPECT_EQ(statusOf(chunked.receive(3s)), 413);
    EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(ApiHardening, OversizedHeadersAreRefused) {
    const std::string longLine = "X-Long: " + std::string(256 * 1024, 'a') + "\r\n";
    EXPECT_EQ(statusOf(exchange(request("GET", "/healthz", longLine))), 431);
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += "X-" + std::to_string(i) + ": a\r\n";
    EXPECT_EQ(statusOf(exchange(request("GET", "/healthz", many))), 431);
    const std::string longPath = "/healthz?" + std::string(9000, 'a');
    EXPECT_EQ(statusOf(exchange(request("GET", longPath, ""))), 414);
    EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(ApiHardening, HeaderValuesAreTakenAsSent) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const std::string raw = token.toStdString();
    char escaped[4];
    std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(raw[0]));
    for (const std::string& header :
         {"Authorization: Bearer%20" + raw + "\r\n",
          "Authorization: Bearer " + std::string(escaped) + raw.substr(1) + "\r\n"}) {
        EXPECT_EQ(statusOf(exchange(request("GET", "/v1/account", header))), 401) << header;
    }
    EXPECT_EQ(statusOf(exchange(request("GET", "/v1/account", bearer(token)))), 200);
}

// A request whose end could be read two ways is refused and its connection closed, so nothing
// hidden in its body is ever taken for a request of its own.
TEST_F(ApiHardening, AmbiguousFramingIsRefusedAndTheConnectionClosed) {
    const std::string smuggled = keptRequest("GET", "/healthz", "");
    const std::string framings[] = {
        "Content-Length: 0\r\nContent-Length: " + std::to_string(smuggled.size()) + "\r\n",
        "Content-Length: 5\r\nContent-Length: 5\r\n",
        "Content-Length: " + std::to_string(smuggled.size() + 5) +
            "\r\nTransfer-Encoding: chunked\r\n",
        "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
        "Transfer-Encoding: gzip, chunked\r\n",
    };
    for (const std::string& framing : framings) {
        RawClient client(port());
        client.send(keptRequest("POST", "/v1/session", framing, "0\r\n\r\n" + smuggled));
        const std::string received = client.receive(3s);
        EXPECT_EQ(statusOf(received), 400) << framing;
        EXPECT_EQ(answersIn(received), 1) << framing;
        EXPECT_TRUE(client.closed()) << framing;
    }
}

TEST_F(ApiHardening, CompressedBodiesAreBoundedAndOnlyWhereTaken) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const std::string signIn = gzipped("{\"reviewCode\":\"AAAA\"}");
    const std::string encodedSignIn = request(
        "POST", "/v1/session",
        "Content-Encoding: gzip\r\nContent-Length: " + std::to_string(signIn.size()) + "\r\n",
        signIn);
    EXPECT_EQ(statusOf(exchange(encodedSignIn)), 415);

    // 64 MiB of zeros in about 64 KiB: inflation stops at the document's limit.
    const std::string bomb = gzipped(std::string(64 * 1024 * 1024, '\0'));
    ASSERT_LT(bomb.size(), size_t(config.maxBodyBytes));
    const std::string bombed =
        exchange(request("PUT", "/v1/state",
                         bearer(token) + "Content-Encoding: gzip\r\nContent-Length: " +
                             std::to_string(bomb.size()) + "\r\n",
                         bomb));
    EXPECT_EQ(statusOf(bombed), 413);
    EXPECT_NE(bombed.find("body too large"), std::string::npos);

    const std::string document = gzipped("{\"state\":{},\"baseUpdatedAt\":0}");
    const std::string stored =
        exchange(request("PUT", "/v1/state",
                         bearer(token) + "Content-Encoding: gzip\r\nContent-Length: " +
                             std::to_string(document.size()) + "\r\n",
                         document));
    EXPECT_EQ(statusOf(stored), 200) << stored;
    EXPECT_EQ(get("/v1/state?since=0", token).status, 200);
    const std::string broken = document.substr(0, document.size() / 2);
    EXPECT_EQ(
        statusOf(exchange(request("PUT", "/v1/state",
                                  bearer(token) + "Content-Encoding: gzip\r\nContent-Length: " +
                                      std::to_string(broken.size()) + "\r\n",
                                  broken))),
        400);
}

// Clients that trickle their requests hold sockets, never the threads that answer others, and
// are cut off when their time is up.
TEST_F(ApiHardening, SlowClientsNeitherStarveOthersNorStay) {
    config.requestTimeoutMillis = 300;
    restart();
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int i = 0; i < 64; ++i) {
        slow.push_back(std::make_unique<RawClient>(port()));
        slow.back()->send("GET /healthz HTTP/1.1\r\nHo");
    }
    httplib::Client client("127.0.0.1", port());
    client.set_read_timeout(2, 0);
    const auto started = std::chrono::steady_clock::now();
    const auto health = client.Get("/healthz");
    ASSERT_TRUE(health);
    EXPECT_EQ(health->status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 1s);

    // Well past the deadline, every one of them has been closed.
    for (const auto& trickler : slow) {
        trickler->send("s");
        trickler->receive(5s);
        EXPECT_TRUE(trickler->closed());
    }
}

TEST_F(ApiHardening, StoppingCutsOffAClientStillSendingItsBody) {
    RawClient trickler(port());
    trickler.send(request("POST", "/v1/session", "Content-Length: 1000\r\n", "{\"review"));
    EXPECT_EQ(get("/healthz").status, 200);
    auto stopped = std::async(std::launch::async, [this] { stop(); });
    EXPECT_EQ(stopped.wait_for(2s), std::future_status::ready);
}

// Replies that wait on the model hold no thread: hundreds wait at once on four, the service
// still answers, and every one of them gets its reply once the model speaks.
TEST_F(ApiHardening, HundredsOfRepliesWaitOnTheModelOnAFewThreads) {
    constexpr int waiting = 300;
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
    // Each reply is four sockets here: the client's, the service's, and both ends upstream.
    ASSERT_GE(files.rlim_cur, rlim_t(4 * waiting + 200));

    ModelFixture slowModel(waiting + 8);
    config.modelUrl = slowModel.url();
    config.dailyLimit = waiting + 1;
    config.threads = 4;
    restart();
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const std::string body = compact(replyRequest()).toStdString();
    const std::string asked =
        request("POST", "/v1/reply",
                bearer(token) + "Content-Type: application/json\r\nContent-Length: " +
                    std::to_string(body.size()) + "\r\n",
                body);

    slowModel.hold();
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < waiting; ++i) {
        clients.push_back(std::make_unique<RawClient>(port()));
        ASSERT_TRUE(clients.back()->send(asked));
    }
    ASSERT_TRUE(slowModel.waitForHeld(waiting));
    httplib::Client client("127.0.0.1", port());
    client.set_read_timeout(2, 0);
    const auto started = std::chrono::steady_clock::now();
    const auto health = client.Get("/healthz");
    ASSERT_TRUE(health);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 1s);

    slowModel.release();
    int answered = 0;
    for (const auto& waiter : clients)
        answered += statusOf(waiter->receive(10s)) == 200;
    EXPECT_EQ(answered, waiting);
}

} // namespace
