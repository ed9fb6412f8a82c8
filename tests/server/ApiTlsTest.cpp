// SPDX-License-Identifier: Apache-2.0
#include "SelfSignedCertificate.h"
#include "ServerTestSupport.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

class ApiTls : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        stop();
        config.tlsCert = dir.filePath(QStringLiteral("cert.pem"));
        config.tlsKey = dir.filePath(QStringLiteral("key.pem"));
        ASSERT_TRUE(writeSelfSignedCertificate(config.tlsCert, config.tlsKey));
        start();
    }

    // A client that trusts the service's own certificate.
    std::unique_ptr<httplib::SSLClient> client() const {
        auto tls = std::make_unique<httplib::SSLClient>("127.0.0.1", port());
        tls->set_ca_cert_path(config.tlsCert.toStdString());
        tls->enable_server_certificate_verification(true);
        tls->set_read_timeout(5, 0);
        return tls;
    }
};

TEST_F(ApiTls, AnswersHttpsWithItsCertificateAndNotPlainHttp) {
    const auto tls = client();
    const auto health = tls->Get("/healthz");
    ASSERT_TRUE(health) << httplib::to_string(health.error());
    EXPECT_EQ(health->status, 200);
    const QString code = invite(QStringLiteral("ana@example.com"));
    const auto session =
        tls->Post("/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
                  "application/json");
    ASSERT_TRUE(session);
    EXPECT_EQ(session->status, 200);

    // Plain HTTP to the TLS port gets no answer a client could mistake for one.
    httplib::Client plain("127.0.0.1", port());
    plain.set_read_timeout(5, 0);
    const auto refused = plain.Get("/healthz");
    EXPECT_TRUE(!refused || refused->status != 200);
    EXPECT_EQ(tls->Get("/healthz")->status, 200);
}

TEST_F(ApiTls, AKeyThatCannotBeReadStopsTheServiceFromStarting) {
    stop();
    config.tlsKey = dir.filePath(QStringLiteral("missing.pem"));
    ModelClient chat(config, clock);
    TranscribeClient transcriber(config);
    GoogleIdTokenVerifier verifier(config.googleJwksUrl, config.googleClientIds, clock);
    ApiServer server(config, *storage, chat, transcriber, verifier, clock);
    EXPECT_FALSE(server.bind());
}

// A model behind HTTPS must prove who it is: one whose certificate nobody vouches for is as
// good as unreachable, and the reply is given back to the allowance.
TEST_F(ApiTls, AModelWithAnUntrustedCertificateIsUnreachable) {
    httplib::SSLServer impostor(config.tlsCert.toLocal8Bit().constData(),
                                config.tlsKey.toLocal8Bit().constData());
    impostor.Post("/v1/chat/completions", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(R"({"choices":[{"message":{"content":"hola"}}]})", "application/json");
    });
    const int impostorPort = impostor.bind_to_any_port("127.0.0.1");
    std::thread serving([&] { impostor.listen_after_bind(); });
    stop();
    config.modelUrl = QStringLiteral("https://127.0.0.1:%1/v1").arg(impostorPort);
    start();

    const auto tls = client();
    const QString code = invite(QStringLiteral("ana@example.com"));
    const auto session =
        tls->Post("/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
                  "application/json");
    ASSERT_TRUE(session);
    const std::string token = QJsonDocument::fromJson(QByteArray::fromStdString(session->body))
                                  .object()
                                  .value(u"sessionToken")
                                  .toString()
                                  .toStdString();
    const auto reply = tls->Post("/v1/reply", {{"Authorization", "Bearer " + token}},
                                 compact(replyRequest()).toStdString(), "application/json");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 503) << reply->body;
    EXPECT_EQ(storage->usedOn(1, clock.nowMillis() / millisPerDay, Allowance::Replies), 0);
    impostor.stop();
    serving.join();
}

} // namespace
