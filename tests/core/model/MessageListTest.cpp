// SPDX-License-Identifier: Apache-2.0
#include "model/MessageList.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

using namespace quillo;

namespace {

ChatMessage message(qsizetype n) {
    return {QStringLiteral("m%1").arg(n),
            QStringLiteral("b"),
            MessageRole::User,
            QStringLiteral("text %1").arg(n),
            {},
            qint64(n),
            MessageSource::User,
            {}};
}

MessageList numbered(qsizetype count) {
    MessageList list;
    for (qsizetype i = 0; i < count; ++i)
        list.append(message(i));
    return list;
}

constexpr qsizetype chunk = MessageList::chunkSize;

} // namespace

TEST(MessageList, AppendsAcrossChunkBoundariesInOrder) {
    const MessageList list = numbered(2 * chunk + 3);
    ASSERT_EQ(list.size(), 2 * chunk + 3);
    for (qsizetype i : {qsizetype(0), chunk - 1, chunk, 2 * chunk, 2 * chunk + 2})
        EXPECT_EQ(list.at(i).id, QStringLiteral("m%1").arg(i));
    EXPECT_EQ(list.last().id, QStringLiteral("m%1").arg(2 * chunk + 2));

    qsizetype n = 0;
    for (const ChatMessage& each : list)
        EXPECT_EQ(each.createdAt, n++);
    EXPECT_EQ(n, list.size());
    EXPECT_EQ(MessageList::fromList(list.toList()), list);
}

TEST(MessageList, AnAppendToACopySharesEveryFullChunk) {
    const MessageList original = numbered(2 * chunk + 1);
    MessageList copy = original;
    copy.append(message(2 * chunk + 1));

    EXPECT_EQ(&copy.at(0), &original.at(0));
    EXPECT_EQ(&copy.at(chunk), &original.at(chunk));
    // Only the partly filled last chunk was duplicated.
    EXPECT_NE(&copy.at(2 * chunk), &original.at(2 * chunk));
    EXPECT_EQ(original.size(), 2 * chunk + 1);
}

TEST(MessageList, CopiesStayIndependentThroughEveryEdit) {
    const MessageList original = numbered(chunk + 2);
    MessageList copy = original;
    ChatMessage changed = message(1);
    changed.text = QStringLiteral("edited");
    copy.replace(1, changed);
    copy.append(message(99));
    copy.removeIf([](const ChatMessage& m) { return m.createdAt == 0; });

    EXPECT_EQ(original.size(), chunk + 2);
    EXPECT_EQ(original.at(1).text, u"text 1");
    EXPECT_EQ(original.first().id, u"m0");
    EXPECT_EQ(copy.size(), chunk + 2);
    EXPECT_EQ(copy.first().text, u"edited");
    EXPECT_EQ(copy.last().id, u"m99");
}

TEST(MessageList, RemoveIfKeepsOrderAndLeavesChunksSharedWhenNothingGoes) {
    MessageList list = numbered(chunk + 10);
    const qsizetype removed = list.removeIf([](const ChatMessage& m) { return m.createdAt % 2; });
    EXPECT_EQ(removed, chunk / 2 + 5);
    ASSERT_EQ(list.size(), chunk / 2 + 5);
    for (qsizetype i = 0; i < list.size(); ++i)
        EXPECT_EQ(list.at(i).createdAt, 2 * i);

    const MessageList before = list;
    EXPECT_EQ(list.removeIf([](const ChatMessage&) { return false; }), 0);
    EXPECT_EQ(&list.at(0), &before.at(0));
}

TEST(MessageList, EqualityComparesContentNotHistory) {
    const MessageList a = numbered(chunk + 1);
    MessageList b = numbered(chunk);
    b.append(message(chunk));
    EXPECT_EQ(a, b);

    b.replace(chunk, message(7));
    EXPECT_NE(a, b);
    EXPECT_NE(a, numbered(chunk));
    EXPECT_EQ(MessageList(), MessageList::fromList({}));
}

TEST(MessageList, JsonRoundTripAndErrorsNameTheMessage) {
    const MessageList list = numbered(chunk + 1);
    const auto decoded = MessageList::fromJson(list.toJson());
    ASSERT_TRUE(decoded.ok());
    EXPECT_EQ(decoded.value(), list);

    const QJsonArray broken = QJsonDocument::fromJson(R"([{"botId":"b","role":"USER","text":"a"},
                                                          {"botId":"b","role":"USER"}])")
                                  .array();
    const auto failed = MessageList::fromJson(broken);
    ASSERT_FALSE(failed.ok());
    EXPECT_EQ(failed.error().message(), u"[1].text: missing");
    EXPECT_EQ(MessageList::fromJson(QJsonObject()).error().message(), u"expected a list");
}
