// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QSet>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class ChatRepository;
struct StoredState;

// The chat list: one row per contact, active contacts before inactive ones and, within each
// group, the most recent conversation first (contacts nobody has written to yet follow, in the
// order they were made). Rows move rather than reset when a new message reorders them, so the
// list keeps its place and can animate.
class ChatListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the chat list")

public:
    enum Role {
        BotIdRole = Qt::UserRole + 1,
        NameRole,
        InitialsRole,
        AccentRole,
        LanguageRole, // what the contact speaks now, for an "Any language" contact too
        LastMessageRole,
        LastMessageAtRole, // milliseconds since the epoch; 0 without messages
        UnreadRole,
        TypingRole,
        ActiveRole,
    };

    explicit ChatListModel(ChatRepository& repository, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of a contact, or -1.
    Q_INVOKABLE int rowOf(const QString& botId) const;
    // The contact of a row; empty outside the list.
    Q_INVOKABLE QString botIdAt(int row) const;
    // The contact next to `botId` in list order (`step` -1 above, +1 below), wrapping round;
    // the first contact when `botId` is not listed.
    Q_INVOKABLE QString neighbourOf(const QString& botId, int step) const;
    // Contacts whose name holds `text`, ignoring case and accents, those whose name starts with
    // it first, each as {botId, name, language}.
    Q_INVOKABLE QVariantList matching(const QString& text) const;

private:
    struct Row {
        QString botId;
        QString name;
        QString initials;
        QString accent;
        QString language;
        QString lastMessage;
        qint64 lastMessageAt = 0;
        int unread = 0;
        bool typing = false;
        bool active = true;
        int documentOrder = 0;

        friend bool operator==(const Row&, const Row&) = default;
    };

    static QList<Row> rowsOf(const StoredState& state, const QSet<QString>& typing);
    void update();

    ChatRepository& m_repository;
    QList<Row> m_rows;
};

} // namespace quillo
