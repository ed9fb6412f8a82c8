// SPDX-License-Identifier: Apache-2.0
#include "service/QuilloAPI.h"
#include "server/ServerTestSupport.h"
#include "server/TranscribeFixture.h"
#include "support/LoopbackServer.h"

#include "common/WaitForResult.h"

#include <QCoroTask>

#include <mutex>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

QUrl loopback(int port) {
    return QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port));
}

const QList<PromptMessage> prompt{{QStringLiteral("system"), QStringLiteral("Be brief.")},
                                  {QStringLiteral("user"), QStringLiteral("Hola, ¿qué tal?")}};

// The real service on loopback, reached only through the client.
class QuilloApi : public ApiTest {
protected:
    std::unique_ptr<QuilloAPI> api;
    QString token;

    void SetUp() override {
        ApiTest::SetUp();
        api = std::make_unique<QuilloAPI>(loopback(port()));
        const auto session =
            waitForResult(api->signInWithCode(invite(QStringLiteral("ana@example.com"))));
        ASSERT_TRUE(session.ok()) << session.error().description().toStdString();
        EXPECT_EQ(session->account.email, u"ana@example.com");
        token = session->token;
    }

    // Drops the client's idle keep-alive connection first, or the service would wait it out.
    void TearDown() override {
        api.reset();
        ApiTest::TearDown();
    }
};

TEST_F(QuilloApi, SessionAccountAndDeletion) {
    const auto again = waitForResult(api->account(token));
    ASSERT_TRUE(again.ok()) << again.error().description().toStdString();
    EXPECT_EQ(again->account.email, u"ana@example.com");
    EXPECT_FALSE(again->token.isEmpty());
    EXPECT_EQ(again->repliesReady, std::optional(true)) << "the service has a model";

    const auto used = waitForResult(api->signInWithCode(QStringLiteral("not-a-code")));
    ASSERT_FALSE(used.ok());
    EXPECT_TRUE(used.error().provider() && used.error().provider()->status.has_value());

    const auto stranger = waitForResult(api->account(QStringLiteral("nobody")));
    ASSERT_FALSE(stranger.ok());
    EXPECT_TRUE(stranger.error().hasStatus(401));
    EXPECT_FALSE(stranger.error().isRetryable());

    ASSERT_TRUE(waitForResult(api->deleteAccount(token)).ok());
    EXPECT_TRUE(waitForResult(api->account(token)).error().hasStatus(401));
}

TEST_F(QuilloApi, RepliesCountAgainstTheDailyLimit) {
    model.setDefault(ModelFixture::reply(QStringLiteral("{\"message\":\"¡Muy bien!\"}")));
    for (int i = 1; i <= config.dailyLimit; ++i) {
        const auto answer = waitForResult(api->reply(token, prompt, 80, 0.6));
        ASSERT_TRUE(answer.ok()) << answer.error().description().toStdString();
        EXPECT_EQ(answer->content, u"{\"message\":\"¡Muy bien!\"}");
        ASSERT_TRUE(answer->account.has_value());
        EXPECT_EQ(answer->account->repliesToday, i);
    }
    const QJsonObject sent = model.requests().first();
    EXPECT_EQ(sent.value(u"messages"), replyRequest().value(u"messages"));
    EXPECT_EQ(sent.value(u"max_tokens").toInt(), 80);
    EXPECT_DOUBLE_EQ(sent.value(u"temperature").toDouble(), 0.6);

    const auto refused = waitForResult(api->reply(token, prompt, 80, 0.6));
    ASSERT_FALSE(refused.ok());
    EXPECT_TRUE(refused.error().hasStatus(402));
    EXPECT_TRUE(refused.error().provider()->body.contains(u"daily limit reached"));
    EXPECT_FALSE(refused.error().isRetryable());

    EXPECT_TRUE(
        waitForResult(api->reply(QStringLiteral("bad"), prompt, 80, 0.6)).error().hasStatus(401));
}

TEST_F(QuilloApi, TheAccountCarriesTheFeedbackAllowanceApartFromReplies) {
    const qint64 id = storage->ensureAccount(QStringLiteral("ana@example.com"), {}, 0).id;
    const qint64 today = clock.nowMillis() / millisPerDay;
    ASSERT_TRUE(storage->reserve(id, today, Allowance::Feedback, config.dailyFeedbackLimit));
    ASSERT_TRUE(storage->reserve(id, today, Allowance::Feedback, config.dailyFeedbackLimit));

    const auto session = waitForResult(api->account(token));
    ASSERT_TRUE(session.ok()) << session.error().description().toStdString();
    EXPECT_EQ(session->account.feedbackToday, 2);
    EXPECT_EQ(session->account.feedbackDailyLimit, 50);
    EXPECT_EQ(session->account.feedbackLeft(), 48);
    EXPECT_EQ(session->account.repliesLeft(), config.dailyLimit);

    model.setDefault(ModelFixture::reply(QStringLiteral("{\"message\":\"Vale\"}")));
    const auto answer = waitForResult(api->reply(token, prompt, 80, 0.6));
    ASSERT_TRUE(answer.ok()) << answer.error().description().toStdString();
    ASSERT_TRUE(answer->account.has_value());
    EXPECT_EQ(answer->account->repliesToday, 1);
    EXPECT_EQ(answer->account->feedbackToday, 2);
}

TEST_F(QuilloApi, StateRoundTripKeepsTheDocumentsBytes) {
    const auto none = waitForResult(api->state(token, 0));
    ASSERT_TRUE(none.ok()) << none.error().description().toStdString();
    EXPECT_EQ(*none, RemoteState{});

    // Spacing that any re-encoder would remove.
    const QByteArray document = "{ \"theme\" :  \"DARK\" }";
    const auto stamp = waitForResult(api->saveState(token, document, 0));
    ASSERT_TRUE(stamp.ok()) << stamp.error().description().toStdString();
    EXPECT_GT(*stamp, 0);
    EXPECT_TRUE(get("/v1/state?since=0", token).body.startsWith("{\"state\":" + document + ','));

    const auto fetched = waitForResult(api->state(token, 0));
    ASSERT_TRUE(fetched.ok()) << fetched.error().description().toStdString();
    ASSERT_TRUE(fetched->state.has_value());
    EXPECT_EQ(fetched->state->theme, ThemeChoice::Dark);
    EXPECT_EQ(fetched->updatedAt, *stamp);
    EXPECT_FALSE(fetched->unchanged);

    const auto same = waitForResult(api->state(token, *stamp));
    ASSERT_TRUE(same.ok());
    EXPECT_TRUE(same->unchanged);
    EXPECT_FALSE(same->state.has_value());

    const auto stale = waitForResult(api->saveState(token, "{}", 0));
    ASSERT_FALSE(stale.ok());
    EXPECT_TRUE(stale.error().hasStatus(409));
    EXPECT_TRUE(stale.error().isRetryable());
}

TEST_F(QuilloApi, OverallDeadlineAbortsAStuckRequest) {
    model.hold();
    QuilloAPI impatient(loopback(port()), ApiTimeouts{std::chrono::seconds(45), {}});
    const auto answer = waitForResult(impatient.reply(token, prompt, 80, 0.6));
    model.release();
    ASSERT_FALSE(answer.ok());
    const ProviderError* error = answer.error().provider();
    ASSERT_TRUE(error);
    EXPECT_EQ(*error, (ProviderError{std::nullopt, QStringLiteral("The request timed out.")}));
    EXPECT_TRUE(error->isRetryable());
}

// Dictation through the real service, which hands the recording to a scripted speech server.
class QuilloApiDictation : public QuilloApi {
protected:
    TranscribeFixture speech;

    void SetUp() override {
        config.transcribeUrl = speech.url();
        QuilloApi::SetUp();
    }
};

TEST_F(QuilloApiDictation, TranscribesOutsideTheDailyLimit) {
    speech.answer([](const QByteArray&, const QString& language) {
        return language.isEmpty() ? QStringLiteral("hello") : QStringLiteral("¿qué tal?");
    });
    const QByteArray wav = TranscribeFixture::wav(400);
    for (int i = 0; i <= config.dailyLimit; ++i) {
        const auto text = waitForResult(api->transcribe(token, wav, QStringLiteral("es-MX")));
        ASSERT_TRUE(text.ok()) << text.error().description().toStdString();
        EXPECT_EQ(*text, u"¿qué tal?");
    }
    const auto guessed = waitForResult(api->transcribe(token, wav, {}));
    ASSERT_TRUE(guessed.ok()) << guessed.error().description().toStdString();
    EXPECT_EQ(*guessed, u"hello");

    const QList<TranscribeFixture::Request> sent = speech.requests();
    ASSERT_EQ(sent.size(), config.dailyLimit + 2);
    EXPECT_EQ(sent.first().audio, wav);
    EXPECT_EQ(sent.first().language, QStringLiteral("es"));
    EXPECT_FALSE(sent.last().language.has_value());
    EXPECT_EQ(waitForResult(api->account(token))->account.repliesToday, 0);
}

TEST_F(QuilloApiDictation, FailuresKeepTheirStatus) {
    const QByteArray wav = TranscribeFixture::wav();
    speech.script({TranscribeFixture::status(429)});
    const auto busy = waitForResult(api->transcribe(token, wav, QStringLiteral("es")));
    EXPECT_TRUE(busy.error().hasStatus(429));
    EXPECT_TRUE(busy.error().isRetryable());

    const auto stranger = waitForResult(api->transcribe(QStringLiteral("bad"), wav, {}));
    EXPECT_TRUE(stranger.error().hasStatus(401));

    // A percent sign or a space must reach the service as the code it is, and be refused there.
    for (const QString& code :
         {QStringLiteral("Spanish"), QStringLiteral("es%20"), QStringLiteral("es MX")}) {
        const auto refused = waitForResult(api->transcribe(token, wav, code));
        EXPECT_TRUE(refused.error().hasStatus(400)) << code.toStdString();
        EXPECT_FALSE(refused.error().isRetryable());
    }
    EXPECT_TRUE(waitForResult(api->transcribe(token, "RIFF", {})).error().hasStatus(400));
    EXPECT_EQ(speech.requests().size(), 1);
}

TEST(QuilloApiBody, StateUploadIsAssembledAroundTheDocumentsBytes) {
    EXPECT_EQ(QuilloAPI::stateUploadBody("{\"a\":1}", 17),
              "{\"state\":{\"a\":1},\"baseUpdatedAt\":17}");
    EXPECT_TRUE(QuilloAPI::stateUploadBody("{}", 0).endsWith("\"baseUpdatedAt\":0}"));
}

// A bare HTTP peer that records what it is sent and answers every request alike: for what the
// real service never does, and to see the requests as they are on the wire.
class RecordingPeer {
public:
    struct Request {
        std::string method;
        std::string path;
        std::string since;
        std::string accept;
        std::optional<std::string> authorization;
        std::optional<std::string> contentType;
        QByteArray body;
        std::string language;
    };

    RecordingPeer(int status, std::string body) {
        const auto handler = [this, status, body](const httplib::Request& in,
                                                  httplib::Response& out) {
            record(in);
            out.status = status;
            out.set_content(body, "application/json");
        };
        m_http.server().Get(".*", handler);
        m_http.server().Post(".*", handler);
        m_http.server().Put(".*", handler);
        m_http.server().Delete(".*", handler);
        m_http.start();
    }
    ~RecordingPeer() { m_http.stop(); }

    int port() const { return m_http.port(); }
    QList<Request> requests() const {
        std::lock_guard lock(m_mutex);
        return m_requests;
    }

private:
    void record(const httplib::Request& in) {
        const auto header = [&](const char* name) -> std::optional<std::string> {
            if (!in.has_header(name))
                return std::nullopt;
            return in.get_header_value(name);
        };
        std::lock_guard lock(m_mutex);
        m_requests.append({in.method, in.path, in.get_param_value("since"),
                           in.get_header_value("Accept"), header("Authorization"),
                           header("Content-Type"), QByteArray::fromStdString(in.body),
                           in.get_param_value("language")});
    }

    testsupport::LoopbackServer m_http;
    mutable std::mutex m_mutex;
    QList<Request> m_requests;
};

TEST(QuilloApiWire, RequestsCarryTheirHeadersAndBodies) {
    RecordingPeer peer(200, "<html>not json</html>");
    QuilloAPI api(loopback(peer.port()));
    const QString t = QStringLiteral("tok");

    // Every answer that must be decoded fails as a decoding error; deletion ignores the body.
    EXPECT_TRUE(waitForResult(api.reply(t, prompt, 80, 0.5)).error().decoding());
    EXPECT_TRUE(waitForResult(api.signIn(QStringLiteral("id-token"))).error().decoding());
    EXPECT_TRUE(waitForResult(api.signInWithCode(QStringLiteral("CODE-1"))).error().decoding());
    EXPECT_TRUE(waitForResult(api.account(t)).error().decoding());
    EXPECT_TRUE(waitForResult(api.deleteAccount(t)).ok());
    EXPECT_TRUE(waitForResult(api.state(t, 42)).error().decoding());
    const auto saved = waitForResult(api.saveState(t, "{\"a\":1}", 17));
    ASSERT_TRUE(saved.error().decoding());
    EXPECT_FALSE(saved.error().isRetryable());
    EXPECT_TRUE(saved.error().description().startsWith(u"Quillo answer not understood: "));

    const QList<RecordingPeer::Request> sent = peer.requests();
    ASSERT_EQ(sent.size(), 7);
    const std::string bearer = "Bearer tok";
    const std::string json = "application/json";
    const auto expect = [&](int i, const std::string& method, const std::string& path,
                            bool withToken, bool withBody) {
        SCOPED_TRACE(i);
        EXPECT_EQ(sent[i].method, method);
        EXPECT_EQ(sent[i].path, path);
        EXPECT_EQ(sent[i].accept, json);
        EXPECT_EQ(sent[i].authorization, withToken ? std::optional(bearer) : std::nullopt);
        EXPECT_EQ(sent[i].contentType, withBody ? std::optional(json) : std::nullopt);
        EXPECT_EQ(!sent[i].body.isEmpty(), withBody);
    };
    expect(0, "POST", "/v1/reply", true, true);
    expect(1, "POST", "/v1/session", false, true);
    expect(2, "POST", "/v1/session", false, true);
    expect(3, "GET", "/v1/account", true, false);
    expect(4, "DELETE", "/v1/account", true, false);
    expect(5, "GET", "/v1/state", true, false);
    expect(6, "PUT", "/v1/state", true, true);

    const QJsonObject replyBody = QJsonDocument::fromJson(sent[0].body).object();
    EXPECT_EQ(replyBody.value(u"messages"), toJsonValue(prompt));
    EXPECT_EQ(replyBody.value(u"maxTokens"), 80);
    EXPECT_EQ(replyBody.value(u"temperature"), 0.5);
    EXPECT_EQ(sent[1].body, "{\"idToken\":\"id-token\"}");
    EXPECT_EQ(sent[2].body, "{\"reviewCode\":\"CODE-1\"}");
    EXPECT_EQ(sent[5].since, "42");
    EXPECT_EQ(sent[6].body, "{\"state\":{\"a\":1},\"baseUpdatedAt\":17}");
}

TEST(QuilloApiWire, TranscriptionSendsTheRecordingAsItIs) {
    const QByteArray wav = TranscribeFixture::wav();
    for (const char* answer : {"{\"text\":7}", "{\"txt\":\"hola\"}", "hola"}) {
        RecordingPeer peer(200, answer);
        const auto text =
            waitForResult(QuilloAPI(loopback(peer.port()))
                              .transcribe(QStringLiteral("tok"), wav, QStringLiteral("pt-BR")));
        EXPECT_TRUE(text.error().decoding()) << answer;

        ASSERT_EQ(peer.requests().size(), 1);
        const RecordingPeer::Request sent = peer.requests().first();
        EXPECT_EQ(sent.method, "POST");
        EXPECT_EQ(sent.path, "/v1/transcribe");
        EXPECT_EQ(sent.language, "pt-BR");
        EXPECT_EQ(sent.authorization, std::optional<std::string>("Bearer tok"));
        EXPECT_EQ(sent.contentType, std::optional<std::string>("audio/wav"));
        EXPECT_EQ(sent.body, wav);
    }
}

TEST(QuilloApiWire, FailuresKeepTheStatusAndBody) {
    RecordingPeer peer(503, "busy \xff\xfe now");
    // The client is gone before the answer comes; the call still finishes.
    QCoro::Task<ApiResult<QuilloSession>> pending =
        QuilloAPI(loopback(peer.port())).account(QStringLiteral("t"));
    const auto busy = waitForResult(std::move(pending));
    ASSERT_TRUE(busy.error().provider());
    EXPECT_EQ(*busy.error().provider(),
              (ProviderError{503, QStringLiteral("busy \uFFFD\uFFFD now")}));
    EXPECT_TRUE(busy.error().isRetryable());

    // Nobody listens on the port: no answer at all, so no status, and worth another try.
    const auto unreachable =
        waitForResult(QuilloAPI(loopback(freeLoopbackPort())).state(QStringLiteral("t"), 0));
    ASSERT_TRUE(unreachable.error().provider());
    EXPECT_FALSE(unreachable.error().provider()->status.has_value());
    EXPECT_FALSE(unreachable.error().provider()->body.isEmpty());
    EXPECT_TRUE(unreachable.error().isRetryable());

    const auto nowhere = waitForResult(QuilloAPI(QUrl()).account(QStringLiteral("t")));
    EXPECT_EQ(nowhere.error(),
              ApiError(ProviderError{std::nullopt, QStringLiteral("Bad path /v1/account")}));
}

} // namespace
