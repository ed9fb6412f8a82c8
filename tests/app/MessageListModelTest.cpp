// SPDX-License-Identifier: Apache-2.0
#include "models/MessageListModel.h"
#include "AppModelsFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace quillo;
using namespace quillo::apptest;

namespace {

const QString kenji = QStringLiteral("kenji");

class MessageListModelTest : public AppModelsTest {
protected:
    // A long chat with a Japanese contact, readings on.
    void openLongChat(int messages) {
        StoredState seed;
        seed.bots = {contact(kenji)};
        seed.bots[0].targetLanguage = QStringLiteral("Japanese");
        seed.profile.languages = {LanguageSettings(QStringLiteral("Japanese"))};
        seed.profile.languages[0].showsRomanization = true;
        for (int i = 0; i < messages; ++i)
            seed.messages.append(message(kenji, MessageRole::Assistant, 1'000 + i,
                                         QStringLiteral("ありがとう、またね")));
        open(seed);
    }

    // Lays out as the app does, counting each layout in `built`.
    MessageListModel::LayOut counted() {
        return [this](const LayoutRequest& request) {
            ++built;
            return layOutMessage(request);
        };
    }

    int built = 0;
};

TEST_F(MessageListModelTest, OnlyTheRowsAViewAsksForAreLaidOut) {
    openLongChat(2'000);
    MessageListModel model(*repository, counted());
    QAbstractItemModelTester tester(&model);
    model.setBotId(kenji);
    ASSERT_EQ(model.rowCount(), 2'000);
    EXPECT_EQ(built, 0);

    // A screenful at the bottom, asked for twice, as a view asks while it scrolls.
    for (int pass = 0; pass < 2; ++pass) {
        for (int row = 1'980; row < 2'000; ++row) {
            model.index(row).data(MessageListModel::SegmentsRole);
            model.index(row).data(MessageListModel::ReadingsRole);
        }
    }
    EXPECT_EQ(built, 20);
    const QVariantList readings = model.index(1'999).data(MessageListModel::ReadingsRole).toList();
    ASSERT_FALSE(readings.isEmpty());
    EXPECT_EQ(readings[0].toMap().value(QStringLiteral("text")).toString(), u"arigatou");
}

TEST_F(MessageListModelTest, NewMessagesAreInsertedAndSettingsRefreshRowsInPlace) {
    openLongChat(3);
    MessageListModel model(*repository, counted());
    QAbstractItemModelTester tester(&model);
    model.setBotId(kenji);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

    clock.set(5'000);
    repository->conversation().addUserMessage(kenji, QStringLiteral("またね"));
    EXPECT_EQ(model.rowCount(), 4);
    EXPECT_EQ(inserted.size(), 1);
    EXPECT_TRUE(model.index(3).data(MessageListModel::FromUserRole).toBool());
    // With no turn running for it, the user's newest message stands unanswered.
    EXPECT_TRUE(model.index(3).data(MessageListModel::NotAnsweredRole).toBool());
    EXPECT_FALSE(model.index(2).data(MessageListModel::NotAnsweredRole).toBool());
    changed.clear();

    ASSERT_FALSE(model.index(0).data(MessageListModel::ReadingsRole).toList().isEmpty());
    const int before = built;
    // Turning the reading line off refreshes the rows in place and lays them out again.
    LanguageSettings japanese = repository->state().profile.settings(QStringLiteral("Japanese"));
    japanese.showsRomanization = false;
    repository->editing().saveLanguage(japanese);
    EXPECT_EQ(changed.size(), 3); // the contact's three messages; the user's own have no line
    EXPECT_TRUE(model.index(0).data(MessageListModel::ReadingsRole).toList().isEmpty());
    EXPECT_EQ(built, before + 1);
    EXPECT_EQ(resets.size(), 0);
}

} // namespace
