// SPDX-License-Identifier: Apache-2.0
#include "models/ChatListModel.h"
#include "AppModelsFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace quillo;
using namespace quillo::apptest;

namespace {

class ChatListModelTest : public AppModelsTest {
protected:
    QStringList order(const ChatListModel& model) const {
        QStringList ids;
        for (int row = 0; row < model.rowCount(); ++row)
            ids.append(model.index(row).data(ChatListModel::BotIdRole).toString());
        return ids;
    }
};

TEST_F(ChatListModelTest, ActiveContactsComeFirstAndTheLatestConversationLeads) {
    StoredState seed;
    seed.bots = {contact(QStringLiteral("ana")), contact(QStringLiteral("ben"), false),
                 contact(QStringLiteral("cai")), contact(QStringLiteral("dua")),
                 contact(QStringLiteral("eva"))};
    seed.bots[2].displayName = QStringLiteral("Cai Wen");
    seed.messages.append(message(QStringLiteral("ben"), MessageRole::Assistant, 900));
    seed.messages.append(message(QStringLiteral("cai"), MessageRole::User, 100));
    seed.messages.append(
        message(QStringLiteral("cai"), MessageRole::Assistant, 200, QStringLiteral("¿y tú?")));
    seed.messages.append(message(QStringLiteral("dua"), MessageRole::Assistant, 300));
    open(seed);
    ChatListModel model(*repository);
    QAbstractItemModelTester tester(&model);

    // Nobody has written to ana and eva yet: they follow in the order they were made.
    EXPECT_EQ(order(model),
              (QStringList{QStringLiteral("dua"), QStringLiteral("cai"), QStringLiteral("ana"),
                           QStringLiteral("eva"), QStringLiteral("ben")}));
    const QModelIndex cai = model.index(1);
    EXPECT_EQ(cai.data(ChatListModel::InitialsRole).toString(), u"CW");
    EXPECT_EQ(cai.data(ChatListModel::LastMessageRole).toString(), u"¿y tú?");
    EXPECT_EQ(cai.data(ChatListModel::LastMessageAtRole).toLongLong(), 200);
    EXPECT_EQ(cai.data(ChatListModel::UnreadRole).toInt(), 1);
    EXPECT_FALSE(model.index(4).data(ChatListModel::ActiveRole).toBool());
}

TEST_F(ChatListModelTest, ANewMessageMovesItsChatUpWithoutResettingTheList) {
    StoredState seed;
    seed.bots = {contact(QStringLiteral("ana")), contact(QStringLiteral("ben"))};
    seed.messages.append(message(QStringLiteral("ana"), MessageRole::Assistant, 100));
    seed.messages.append(message(QStringLiteral("ben"), MessageRole::Assistant, 200));
    open(seed);
    ChatListModel model(*repository);
    QAbstractItemModelTester tester(&model);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy moves(&model, &QAbstractItemModel::rowsMoved);
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    ASSERT_EQ(order(model), (QStringList{QStringLiteral("ben"), QStringLiteral("ana")}));

    clock.set(1'000);
    repository->conversation().addUserMessage(QStringLiteral("ana"), QStringLiteral("¿qué tal?"));
    EXPECT_EQ(order(model), (QStringList{QStringLiteral("ana"), QStringLiteral("ben")}));
    EXPECT_EQ(moves.size(), 1);
    EXPECT_EQ(resets.size(), 0);
    // Writing marks the chat read.
    EXPECT_EQ(model.index(0).data(ChatListModel::UnreadRole).toInt(), 0);
    EXPECT_EQ(model.index(0).data(ChatListModel::LastMessageRole).toString(), u"¿qué tal?");

    // A removed contact leaves the list.
    repository->editing().removeBots({QStringLiteral("ben")});
    EXPECT_EQ(order(model), QStringList{QStringLiteral("ana")});
    EXPECT_FALSE(changes.isEmpty());
}

} // namespace
