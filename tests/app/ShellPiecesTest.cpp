// SPDX-License-Identifier: Apache-2.0
#include "AppModelsFixture.h"
#include "models/NotificationPayload.h"
#include "models/RepeatingTimers.h"
#include "support/ManualClock.h"

using namespace quillo;
using namespace quillo::apptest;

namespace {

TEST(NotificationPayload, NamesTheContactItsLanguageAndLevelAndTheNewestLines) {
    StoredState state;
    state.profile.languages = {LanguageSettings(QStringLiteral("Spanish"), CefrLevel::B1)};
    BotProfile lucia = AppModelsTest::contact(QStringLiteral("lucia"));
    lucia.displayName = QStringLiteral("Lucía Gómez");
    lucia.accent = QStringLiteral("#FF9466");
    QList<ChatMessage> unread;
    for (int i = 1; i <= 5; ++i)
        unread.append(AppModelsTest::message(QStringLiteral("lucia"), MessageRole::Assistant, i,
                                             QStringLiteral("línea %1").arg(i)));

    const NotificationPayload payload = NotificationPayload::of(state, lucia, unread);
    EXPECT_EQ(payload.botId, u"lucia");
    EXPECT_EQ(payload.title, u"Lucía Gómez");
    EXPECT_EQ(payload.initials, u"LG");
    EXPECT_EQ(payload.accent, u"#FF9466");
    EXPECT_EQ(payload.subtitle, u"Spanish · B1");
    EXPECT_EQ(payload.body, u"línea 2\nlínea 3\nlínea 4\nlínea 5");

    // A contact that writes any language is shown with what it writes now.
    BotProfile polly = AppModelsTest::contact(QStringLiteral("polly"));
    polly.targetLanguage = QStringLiteral("Any language");
    polly.speaking = QStringLiteral("German");
    polly.speakingLevel = CefrLevel::A2;
    EXPECT_EQ(NotificationPayload::of(state, polly, {}).subtitle, u"German · A2");
    polly.speaking.clear();
    polly.speakingLevel.reset();
    EXPECT_TRUE(NotificationPayload::of(state, polly, {}).subtitle.isEmpty());
}

TEST(RepeatingTimers, NudgesEveryFiveMinutesRefreshesEveryThreeUntilStopped) {
    ManualClock clock(0);
    QList<qint64> nudges;
    int refreshes = 0;
    RepeatingTimers timers(
        clock,
        [&nudges](qint64 now) -> QCoro::Task<> {
            nudges.append(now);
            co_return;
        },
        [&refreshes]() -> QCoro::Task<> {
            ++refreshes;
            co_return;
        });
    timers.start();
    timers.start(); // a second start changes nothing
    clock.advance(900'000);
    EXPECT_EQ(nudges, (QList<qint64>{300'000, 600'000, 900'000}));
    EXPECT_EQ(refreshes, 5);

    timers.stop();
    clock.advance(900'000);
    EXPECT_EQ(nudges.size(), 3);
    EXPECT_EQ(refreshes, 5);
    EXPECT_EQ(clock.sleeping(), 0);
}

} // namespace
