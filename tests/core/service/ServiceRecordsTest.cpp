// SPDX-License-Identifier: Apache-2.0
#include "service/Account.h"
#include "service/RemoteState.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

#include <limits>

using namespace quillo;

namespace {

QJsonValue json(const char* text) {
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

} // namespace

TEST(Account, EveryFieldButEmailFallsBackToItsDefault) {
    const auto account = Account::fromJson(
        json(R"({"email":"ana@example.com","dailyLimit":"lots","repliesToday":null,
                 "plan":7,"planExpiresAt":"soon","plusDailyLimit":1.5,"planSource":false})"));
    ASSERT_TRUE(account) << account.error().message().toStdString();
    EXPECT_EQ(*account, Account(QStringLiteral("ana@example.com"), {}, QStringLiteral("free"), 0,
                                Account::defaultDailyLimit));
    EXPECT_EQ(account->plusDailyLimit, 20);
    EXPECT_FALSE(account->planExpiresAt);
    EXPECT_FALSE(account->planSource);
    EXPECT_EQ(account->feedbackToday, 0);
    EXPECT_EQ(account->feedbackDailyLimit, Account::defaultFeedbackDailyLimit);
}

TEST(Account, FeedbackCountersAreReadAndLeftApartFromReplies) {
    const auto account = Account::fromJson(json(
        R"({"email":"a@b.c","repliesToday":20,"dailyLimit":20,"feedbackToday":3,"feedbackDailyLimit":5})"));
    ASSERT_TRUE(account);
    EXPECT_EQ(account->repliesLeft(), 0);
    EXPECT_EQ(account->feedbackLeft(), 2);
    const auto odd = Account::fromJson(json(R"({"email":"a@b.c","feedbackToday":"x",
                                              "feedbackDailyLimit":[]})"));
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->feedbackLeft(), Account::defaultFeedbackDailyLimit);
    Account over = *account;
    over.feedbackToday = 8;
    EXPECT_EQ(over.feedbackLeft(), 0);
}

TEST(Account, FailsWithoutAnEmail) {
    for (const char* text : {R"({"name":"Ana"})", R"({"email":null})", R"({"email":3})"}) {
        const auto account = Account::fromJson(json(text));
        ASSERT_FALSE(account) << text;
        EXPECT_EQ(account.error().field, u"email");
    }
    EXPECT_FALSE(Account::fromJson(QJsonValue(QStringLiteral("ana@example.com"))));
}

TEST(Account, RoundTripsAndLeavesAbsentOptionalsOut) {
    Account full(QStringLiteral("ana@example.com"), QStringLiteral("Ana"), QStringLiteral("plus"),
                 4, 200);
    full.planExpiresAt = 1'800'000'000'000;
    full.plusDailyLimit = 200;
    full.planSource = QStringLiteral("store");
    full.feedbackToday = 7;
    full.feedbackDailyLimit = 9;
    EXPECT_EQ(Account::fromJson(full.toJson()).value(), full);

    const Account plain(QStringLiteral("bo@example.com"), QStringLiteral("Bo"),
                        QStringLiteral("free"), 0, 20);
    const QJsonObject encoded = plain.toJson();
    EXPECT_EQ(encoded.keys(),
              (QStringList{QStringLiteral("dailyLimit"), QStringLiteral("email"),
                           QStringLiteral("feedbackDailyLimit"), QStringLiteral("feedbackToday"),
                           QStringLiteral("name"), QStringLiteral("plan"),
                           QStringLiteral("plusDailyLimit"), QStringLiteral("repliesToday")}));
    EXPECT_EQ(Account::fromJson(encoded).value(), plain);
}

TEST(Account, RepliesLeftNeverGoesBelowZero) {
    const auto account = [](int used, int limit) {
        return Account(QStringLiteral("a@b.c"), {}, QStringLiteral("free"), used, limit);
    };
    EXPECT_EQ(account(3, 20).repliesLeft(), 17);
    EXPECT_EQ(account(20, 20).repliesLeft(), 0);
    EXPECT_EQ(account(25, 20).repliesLeft(), 0);
    EXPECT_EQ(account(-2'000'000'000, 2'000'000'000).repliesLeft(),
              std::numeric_limits<int>::max());
}

TEST(RemoteState, MissingKeysMeanNoCopyAndNoChangeAndADocumentIsCarried) {
    for (const char* text : {"{}", R"({"state":null,"updatedAt":null,"unchanged":null})"}) {
        const auto remote = RemoteState::fromJson(json(text));
        ASSERT_TRUE(remote) << text;
        EXPECT_EQ(*remote, RemoteState{}) << text;
    }
    StoredState state;
    state.profile.displayName = QStringLiteral("Ana");
    const QJsonObject answer{{QStringLiteral("state"), state.toJson()},
                             {QStringLiteral("updatedAt"), 42},
                             {QStringLiteral("unchanged"), true}};
    EXPECT_EQ(RemoteState::fromJson(answer).value(), (RemoteState{state, 42, true}));
}

TEST(RemoteState, ABrokenDocumentFailsTheAnswerWithItsPath) {
    const auto badBots = RemoteState::fromJson(json(R"({"state":{"bots":[{"id":1}]}})"));
    ASSERT_FALSE(badBots);
    EXPECT_TRUE(badBots.error().field.startsWith(u"state.bots[0]"))
        << badBots.error().message().toStdString();

    const auto notAnObject = RemoteState::fromJson(json(R"({"state":"gone"})"));
    ASSERT_FALSE(notAnObject);
    EXPECT_EQ(notAnObject.error().field, u"state");

    EXPECT_FALSE(RemoteState::fromJson(json(R"({"updatedAt":"7"})")));
}
