// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChatMessage.h"

#include <QList>

#include <initializer_list>
#include <iterator>

namespace quillo {

// All messages of a document, oldest first, in fixed-size chunks that copies of the document
// share. Appending to a copy duplicates only the last chunk and the chunk index, so one edit
// costs the same with a hundred messages as with a hundred thousand.
class MessageList {
public:
    static constexpr qsizetype chunkSize = 512;

    class const_iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = ChatMessage;
        using difference_type = qsizetype;
        using pointer = const ChatMessage*;
        using reference = const ChatMessage&;

        const_iterator() = default;
        const_iterator(const MessageList* list, qsizetype index)
            : m_list(list)
            , m_index(index) {}

        reference operator*() const { return m_list->at(m_index); }
        pointer operator->() const { return &m_list->at(m_index); }
        reference operator[](difference_type n) const { return m_list->at(m_index + n); }
        const_iterator& operator++() {
            ++m_index;
            return *this;
        }
        const_iterator operator++(int) {
            auto old = *this;
            ++m_index;
            return old;
        }
        const_iterator& operator--() {
            --m_index;
            return *this;
        }
        const_iterator operator--(int) {
            auto old = *this;
            --m_index;
            return old;
        }
        const_iterator& operator+=(difference_type n) {
            m_index += n;
            return *this;
        }
        const_iterator& operator-=(difference_type n) {
            m_index -= n;
            return *this;
        }
        friend const_iterator operator+(const_iterator it, difference_type n) { return it += n; }
        friend const_iterator operator+(difference_type n, const_iterator it) { return it += n; }
        friend const_iterator operator-(const_iterator it, difference_type n) { return it -= n; }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) {
            return a.m_index - b.m_index;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) {
            return a.m_index == b.m_index;
        }
        friend auto operator<=>(const const_iterator& a, const const_iterator& b) {
            return a.m_index <=> b.m_index;
        }

    private:
        const MessageList* m_list = nullptr;
        qsizetype m_index = 0;
    };

    MessageList() = default;
    MessageList(std::initializer_list<ChatMessage> messages);
    static MessageList fromList(const QList<ChatMessage>& messages);
    QList<ChatMessage> toList() const;

    qsizetype size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    const ChatMessage& at(qsizetype index) const {
        return m_chunks.at(index / chunkSize).at(index % chunkSize);
    }
    const ChatMessage& operator[](qsizetype index) const { return at(index); }
    const ChatMessage& first() const { return at(0); }
    const ChatMessage& last() const { return at(m_size - 1); }

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, m_size}; }

    void append(ChatMessage message);
    void replace(qsizetype index, ChatMessage message);

    // Drops the messages for which `remove` is true, keeping the order of the rest. Rebuilds
    // the chunks when anything goes, and leaves them shared when nothing does.
    template <typename Predicate>
    qsizetype removeIf(Predicate remove) {
        MessageList kept;
        for (const ChatMessage& message : *this) {
            if (!remove(message))
                kept.append(message);
        }
        const qsizetype removed = m_size - kept.m_size;
        if (removed > 0)
            *this = std::move(kept);
        return removed;
    }

    friend bool operator==(const MessageList& a, const MessageList& b);

    static Result<MessageList, DecodeError> fromJson(const QJsonValue& value);
    QJsonArray toJson() const;

private:
    QList<QList<ChatMessage>> m_chunks; // every chunk full but the last
    qsizetype m_size = 0;
};

template <>
struct JsonCodec<MessageList> {
    static Decoded<MessageList> decode(const QJsonValue& value) {
        return MessageList::fromJson(value);
    }
    static QJsonValue encode(const MessageList& value) { return value.toJson(); }
};

} // namespace quillo
