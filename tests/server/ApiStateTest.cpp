// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"
#include "http/StateUpload.h"
#include <QFile>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

// A document as the app writes it, with what a re-encoder would change: spacing, key order,
// escapes and a number written as 1.0.
const QByteArray document = "{ \"theme\" : \"DARK\",\n  \"messages\": [{\"botId\": \"b1\", "
                            "\"role\": \"USER\", \"text\": \"caf\\u00e9 {\\\"x\\\"}]\", "
                            "\"createdAt\": 1.0}],\n  \"bots\": [] }";

QByteArray uploadBody(const QByteArray& state, qint64 base) {
    return "{\"state\":" + state + ",\"baseUpdatedAt\":" + QByteArray::number(base) + '}';
}

class ApiState : public ApiTest {
protected:
    QString token;

    void SetUp() override {
        ApiTest::SetUp();
        token = signIn(QStringLiteral("ana@example.com"));
    }

    Answer upload(const QByteArray& state, qint64 base, const QString& as = {}) {
        return send("PUT", "/v1/state", uploadBody(state, base), as.isEmpty() ? token : as);
    }
    Answer download(qint64 since, const QString& as = {}) {
        return get("/v1/state?since=" + std::to_string(since), as.isEmpty() ? token : as);
    }
};

TEST_F(ApiState, RoundTripKeepsTheDocumentsExactBytes) {
    const Answer empty = download(0);
    ASSERT_EQ(empty.status, 200);
    EXPECT_EQ(empty.json, QJsonObject({{QStringLiteral("updatedAt"), 0},
                                       {QStringLiteral("unchanged"), false}}));

    const Answer stored = upload(document, 0);
    ASSERT_EQ(stored.status, 200) << stored.body.toStdString();
    const qint64 stamp = stored.json.value(u"updatedAt").toInteger();
    EXPECT_GE(stamp, clock.nowMillis());

    const Answer fetched = download(0);
    ASSERT_EQ(fetched.status, 200);
    EXPECT_EQ(fetched.contentType, "application/json");
    EXPECT_EQ(fetched.body, "{\"state\":" + document + ",\"updatedAt\":" +
                                QByteArray::number(stamp) + ",\"unchanged\":false}");

    const Answer unchanged = download(stamp);
    EXPECT_EQ(unchanged.json, QJsonObject({{QStringLiteral("updatedAt"), stamp},
                                           {QStringLiteral("unchanged"), true}}));
    // Any other `since`, older or not, gets the document.
    EXPECT_TRUE(download(stamp + 1).json.value(u"state").isObject());
}

TEST_F(ApiState, StaleBaseIsRefusedWithTheCurrentStamp) {
    const qint64 first = upload("{}", 0).json.value(u"updatedAt").toInteger();
    // The same millisecond still gives a newer stamp.
    const Answer second = upload("{\"theme\":\"DARK\"}", first);
    ASSERT_EQ(second.status, 200);
    const qint64 current = second.json.value(u"updatedAt").toInteger();
    EXPECT_GT(current, first);

    for (const qint64 base : {qint64(0), first, current + 1}) {
        const Answer stale = upload("{\"theme\":\"LIGHT\"}", base);
        EXPECT_EQ(stale.status, 409) << base;
        EXPECT_EQ(stale.json.value(u"error").toString(), u"stale base");
        EXPECT_EQ(stale.json.value(u"updatedAt").toInteger(), current);
    }
    EXPECT_TRUE(download(0).body.contains("\"DARK\""));
}

TEST_F(ApiState, AFinishedSetupIsNeverUndoneByAnUpload) {
    const QByteArray notSetUp = "{\"profile\":{\"displayName\":\"Ana\"},\"bots\":[]}";
    const QByteArray setUp = "{\"speechLanguage\":\"]} {\\\"profile\\\":1\",\"messages\":[],"
                             "\"profile\":{\"setupCompleted\":true}}";
    // Not set up over not set up, then set up: both fine.
    qint64 stamp = upload(notSetUp, 0).json.value(u"updatedAt").toInteger();
    const Answer finished = upload(setUp, stamp);
    ASSERT_EQ(finished.status, 200);
    stamp = finished.json.value(u"updatedAt").toInteger();

    // Back to not set up, even from the current base: refused like a stale one, nothing stored.
    const Answer undone = upload(notSetUp, stamp);
    EXPECT_EQ(undone.status, 409);
    EXPECT_EQ(undone.json.value(u"error").toString(), u"would undo the setup");
    EXPECT_EQ(undone.json.value(u"updatedAt").toInteger(), stamp);
    EXPECT_EQ(download(0).json.value(u"updatedAt").toInteger(), stamp);
    EXPECT_EQ(upload(setUp, stamp).status, 200);

    EXPECT_TRUE(setupCompletedIn(setUp));
    EXPECT_FALSE(setupCompletedIn(notSetUp));
    EXPECT_FALSE(setupCompletedIn("{\"profile\":{\"setupCompleted\":\"yes\"}}"));
    EXPECT_FALSE(setupCompletedIn("not json"));
}

TEST_F(ApiState, RefusesUploadsThatAreNotADocument) {
    const struct {
        QByteArray body;
        const char16_t* error;
    } cases[] = {
        {"{\"state\":{},\"baseUpdatedAt\":", u"malformed JSON"},
        {"[]", u"expected a JSON object"},
        {"{\"baseUpdatedAt\":0}", u"state: missing"},
        {"{\"state\":\"{}\",\"baseUpdatedAt\":0}", u"state: expected an object"},
        {"{\"state\":{}}", u"baseUpdatedAt: missing"},
        {"{\"state\":{},\"baseUpdatedAt\":-1}",
         u"baseUpdatedAt: expected a whole number of at least 0"},
        {"{\"state\":{},\"baseUpdatedAt\":1.5}",
         u"baseUpdatedAt: expected a whole number of at least 0"},
        {"{\"state\":{},\"baseUpdatedAt\":\"0\"}",
         u"baseUpdatedAt: expected a whole number of at least 0"},
        {"{\"state\":{},\"st\\u0061te\":{},\"baseUpdatedAt\":0}", u"state: given more than once"},
        {"{\"state\":{\"bots\":\"none\"},\"baseUpdatedAt\":0}", u"state.bots: expected a list"},
        // The path names the field; the message text itself never comes back.
        {"{\"state\":{\"messages\":[{\"botId\":\"b\",\"role\":\"USER\",\"text\":\"secret\"},"
         "{\"botId\":\"b\",\"text\":\"secret\"}]},\"baseUpdatedAt\":0}",
         u"state.messages[1].role: missing"},
    };
    for (const auto& c : cases) {
        const Answer answer = send("PUT", "/v1/state", c.body, token);
        EXPECT_EQ(answer.status, 400) << c.body.toStdString();
        EXPECT_EQ(answer.json.value(u"error").toString(), QStringView(c.error))
            << c.body.toStdString();
    }
    EXPECT_EQ(download(0).json.value(u"updatedAt").toInteger(), 0);
}

TEST_F(ApiState, SinceMustBeAWholeNumber) {
    for (const char* query : {"", "?since=", "?since=-1", "?since=abc", "?since=1.5", "?since=+3",
                              "?since=99999999999999999999", "?other=1"}) {
        const Answer answer = get(std::string("/v1/state") + query, token);
        EXPECT_EQ(answer.status, 400) << query;
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty());
    }
}

TEST_F(ApiState, EachTokenSeesOnlyItsOwnAccountsDocument) {
    const QString other = signIn(QStringLiteral("bea@example.com"));
    ASSERT_EQ(upload("{\"theme\":\"DARK\"}", 0).status, 200);

    EXPECT_EQ(download(0, other).json.value(u"updatedAt").toInteger(), 0);
    const Answer theirs = upload("{\"theme\":\"LIGHT\"}", 0, other);
    ASSERT_EQ(theirs.status, 200);
    EXPECT_TRUE(download(0).body.contains("DARK"));
    EXPECT_TRUE(download(0, other).body.contains("LIGHT"));
    EXPECT_EQ(send("PUT", "/v1/state", uploadBody("{}", 0), QStringLiteral("nobody")).status, 401);
}

TEST(StateUploadSpan, FindsTheTopLevelMemberWhateverSurroundsIt) {
    const auto spanText = [](const QByteArray& json) {
        const auto span = memberSpan(json, QStringLiteral("state"));
        return span ? json.mid(span->first, span->second - span->first) : QByteArray("none");
    };
    EXPECT_EQ(spanText("{\"state\":{\"a\":1}}"), "{\"a\":1}");
    EXPECT_EQ(spanText(" { \"x\" : [1, {\"state\": 2}, \"}\"] , \"state\" :\t{\"s\":\"\\\"}\"} } "),
              "{\"s\":\"\\\"}\"}");
    EXPECT_EQ(spanText("{\"a\":true,\"st\\u0061te\":[[[]]],\"b\":-1.5e3}"), "[[[]]]");
    EXPECT_EQ(spanText("{\"stat\":1,\"states\":2}"), "none");
    EXPECT_EQ(spanText("{\"state\":1,\"state\":1}"), "none");
    EXPECT_EQ(spanText("[\"state\"]"), "none");
    // Broken text never reads past its end.
    for (const QByteArray broken :
         {"{\"state\":", "{\"state\":{\"a\":\"", "{\"sta", "{\"state\":1"})
        EXPECT_EQ(spanText(broken), "none") << broken.toStdString();
}

} // namespace

namespace {

// `quillo-server invite` run while the service runs once recreated the database file; pooled
// readers kept the old file while the writer had the new one, and one account was served
// another's document. A file that is no longer the one opened now stops the service.
TEST_F(ApiTest, ADatabaseFileReplacedWhileServingStopsTheService) {
    const QString ana = signIn(QStringLiteral("ana@example.com"));
    ASSERT_EQ(
        send("PUT", "/v1/state", "{\"state\":{\"speechLanguage\":\"es\"},\"baseUpdatedAt\":0}", ana)
            .status,
        200);
    const QString path = dir.filePath(QStringLiteral("q.db"));
    for (const QString& suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::remove(path + suffix);
    {
        const auto replacement = openStorage(QStringLiteral("sqlite:") + path);
        replacement->migrate();
        const AccountRow other =
            replacement->ensureAccount(QStringLiteral("bo@example.com"), QStringLiteral("Bo"), 1);
        replacement->putDocument(other.id, "{\"speechLanguage\":\"fr\"}", 0, 1);
    }

    const Answer refused = get("/v1/state?since=0", ana);
    EXPECT_EQ(refused.status, 503);
    EXPECT_FALSE(refused.body.contains("fr"));
    EXPECT_TRUE(storage->lost());
    // The service has stopped: nothing more is served from either file.
    EXPECT_EQ(get("/healthz").status, 0);
}

} // namespace
