// SPDX-License-Identifier: Apache-2.0
#include "DeviceFixture.h"

using namespace quillo;
using namespace quillo::devicetest;

namespace {

const QString lucia = QStringLiteral("lucia");

std::optional<Correction> correctionOf(const Device& device, const QString& id) {
    for (const ChatMessage& message : device.state().messages) {
        if (message.id == id)
            return message.correction;
    }
    return std::nullopt;
}

// Two devices of one person: a check made on either reaches the other, and the later check of
// a message wins wherever the two meet.
class CorrectionSyncTest : public DevicesTest {};

TEST_F(CorrectionSyncTest, ACheckReachesTheOtherDeviceAndTheLaterCheckWinsOnBoth) {
    StoredState seed;
    seed.profile.setupCompleted = true;
    seed.bots = {contact(lucia)};
    const auto first = device(seed.withSyncedLanguages());
    const auto second = device();
    signIn(*first, QStringLiteral("ana@example.com"));
    signIn(*second, QStringLiteral("ana@example.com"));

    first->repository->conversation().addUserMessage(lucia, QStringLiteral("Yo soy cansado"));
    const QString id = first->state().messagesFor(lucia).last().id;
    settle(*first);
    run(second->repository->synchronisation().refresh());
    ASSERT_EQ(second->state().messagesFor(lucia).size(), 1);
    EXPECT_FALSE(correctionOf(*second, id));

    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"corrected":"Estoy cansado","edits":[{"original":"Yo soy","corrected":"Estoy"}]})")));
    const auto onFirst = run(first->repository->feedback().check(id), true);
    ASSERT_TRUE(onFirst);
    settle(*first);
    run(second->repository->synchronisation().refresh());
    EXPECT_EQ(correctionOf(*second, id), onFirst);

    // Checked again on both devices before either hears of the other: the first half a minute
    // later, the second a minute later. Wherever the two meet, the second device's check wins.
    appClock.advance(30'000);
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"corrected":"Estoy cansado.","edits":[]})")));
    const auto againOnFirst = run(first->repository->feedback().check(id), true);
    ASSERT_TRUE(againOnFirst);
    appClock.advance(30'000);
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"corrected":"Estoy muy cansado","edits":[]})")));
    const auto onSecond = run(second->repository->feedback().check(id), true);
    ASSERT_TRUE(onSecond);
    ASSERT_GT(onSecond->checkedAt, againOnFirst->checkedAt);
    settle(*second);
    settle(*first);
    run(first->repository->synchronisation().refresh());
    settle(*first);
    run(second->repository->synchronisation().refresh());
    EXPECT_EQ(correctionOf(*first, id), onSecond);
    EXPECT_EQ(correctionOf(*second, id), onSecond);
    EXPECT_EQ(first->projection(), second->projection());
}

} // namespace
