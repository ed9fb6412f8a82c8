// SPDX-License-Identifier: Apache-2.0
#include "MessageList.h"

namespace quillo {

MessageList::MessageList(std::initializer_list<ChatMessage> messages) {
    for (const ChatMessage& message : messages)
        append(message);
}

MessageList MessageList::fromList(const QList<ChatMessage>& messages) {
    MessageList list;
    for (const ChatMessage& message : messages)
        list.append(message);
    return list;
}

QList<ChatMessage> MessageList::toList() const {
    QList<ChatMessage> messages;
    messages.reserve(m_size);
    for (const auto& chunk : m_chunks)
        messages.append(chunk);
    return messages;
}

void MessageList::append(ChatMessage message) {
    if (m_chunks.isEmpty() || m_chunks.constLast().size() == chunkSize) {
        QList<ChatMessage> chunk;
        chunk.reserve(chunkSize);
        m_chunks.append(std::move(chunk));
    }
    m_chunks.last().append(std::move(message));
    ++m_size;
}

void MessageList::replace(qsizetype index, ChatMessage message) {
    m_chunks[index / chunkSize][index % chunkSize] = std::move(message);
}

bool operator==(const MessageList& a, const MessageList& b) {
    // Chunks that copies still share compare by pointer inside QList's own operator==.
    return a.m_size == b.m_size && a.m_chunks == b.m_chunks;
}

Result<MessageList, DecodeError> MessageList::fromJson(const QJsonValue& value) {
    if (!value.isArray())
        return DecodeError{{}, QStringLiteral("expected a list")};
    const QJsonArray array = value.toArray();
    MessageList list;
    for (qsizetype i = 0; i < array.size(); ++i) {
        auto message = ChatMessage::fromJson(array.at(i));
        if (!message)
            return message.error().atIndex(i);
        list.append(std::move(message).value());
    }
    return list;
}

QJsonArray MessageList::toJson() const {
    QJsonArray array;
    for (const ChatMessage& message : *this)
        array.append(message.toJson());
    return array;
}

} // namespace quillo
