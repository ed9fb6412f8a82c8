// SPDX-License-Identifier: Apache-2.0
#include "models/Navigation.h"
#include "AppModelsFixture.h"

#include <QSignalSpy>

using namespace quillo;
using namespace quillo::apptest;

namespace {

using NavigationTest = AppModelsTest;

TEST_F(NavigationTest, TheMostRelevantChatIsTheNewestUnreadThenTheLatestThenTheFirstActive) {
    StoredState state;
    state.bots = {contact(QStringLiteral("ana"), false), contact(QStringLiteral("ben")),
                  contact(QStringLiteral("cai"))};
    EXPECT_EQ(Navigation::mostRelevantChat(state), QStringLiteral("ben"));

    state.messages.append(message(QStringLiteral("cai"), MessageRole::User, 500));
    EXPECT_EQ(Navigation::mostRelevantChat(state), QStringLiteral("cai"));

    state.messages.append(message(QStringLiteral("ana"), MessageRole::Assistant, 100));
    state.messages.append(message(QStringLiteral("ben"), MessageRole::Assistant, 300));
    EXPECT_EQ(Navigation::mostRelevantChat(state), QStringLiteral("ben"));
    state.lastReadAt.insert(QStringLiteral("ben"), 300);
    EXPECT_EQ(Navigation::mostRelevantChat(state), QStringLiteral("ana"));

    EXPECT_FALSE(Navigation::mostRelevantChat(StoredState()));
}

TEST_F(NavigationTest, SelectingAChatReadsItAndARemovedContactClosesIt) {
    StoredState seed;
    seed.bots = {contact(QStringLiteral("ana")), contact(QStringLiteral("ben"))};
    seed.messages.append(message(QStringLiteral("ben"), MessageRole::Assistant, 100));
    open(seed);
    Navigation model(*repository);
    QSignalSpy selections(&model, &Navigation::selectionChanged);

    clock.set(1'000);
    model.focusMostRelevantChat();
    EXPECT_EQ(model.selectedBotId(), u"ben");
    EXPECT_EQ(repository->state().unreadCount(QStringLiteral("ben")), 0);
    model.select(QStringLiteral("nobody"));
    EXPECT_EQ(model.selectedBotId(), u"ben");
    EXPECT_EQ(selections.size(), 1);

    repository->editing().removeBots({QStringLiteral("ben")});
    EXPECT_TRUE(model.selectedBotId().isEmpty());

    QSignalSpy sheets(&model, &Navigation::sheetChanged);
    model.showSheet(Navigation::Sheet::Settings);
    model.showSheet(Navigation::Sheet::Settings);
    model.closeSheet();
    EXPECT_EQ(sheets.size(), 2);
    EXPECT_EQ(model.sheet(), Navigation::Sheet::None);
}

} // namespace
