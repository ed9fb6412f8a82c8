// SPDX-License-Identifier: Apache-2.0
#include "ChatListModel.h"

#include "repository/ChatRepository.h"

#include <QHash>
#include <QVariantMap>

#include <algorithm>

namespace quillo {

ChatListModel::ChatListModel(ChatRepository& repository, QObject* parent)
    : QAbstractListModel(parent)
    , m_repository(repository)
    , m_rows(rowsOf(repository.state(), repository.typing())) {
    connect(&repository, &ChatRepository::stateChanged, this, &ChatListModel::update);
    connect(&repository, &ChatRepository::typingChanged, this, &ChatListModel::update);
}

QList<ChatListModel::Row> ChatListModel::rowsOf(const StoredState& state,
                                                const QSet<QString>& typing) {
    // One walk over the messages finds every chat's newest message.
    QHash<QString, const ChatMessage*> newest;
    for (const ChatMessage& message : state.messages) {
        const ChatMessage*& seen = newest[message.botId];
        if (!seen || message.createdAt >= seen->createdAt)
            seen = &message;
    }
    QList<Row> rows;
    rows.reserve(state.bots.size());
    int order = 0;
    for (const BotProfile& bot : state.bots) {
        Row row;
        row.botId = bot.id;
        row.name = bot.displayName;
        row.initials = bot.initials();
        row.accent = bot.accent;
        row.language = bot.currentLanguage();
        if (const ChatMessage* last = newest.value(bot.id)) {
            row.lastMessage = last->text;
            row.lastMessageAt = last->createdAt;
        }
        row.unread = state.unreadCount(bot.id);
        row.typing = typing.contains(bot.id);
        row.active = bot.isEnabled;
        row.documentOrder = order++;
        rows.append(row);
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
        if (a.active != b.active)
            return a.active;
        return a.lastMessageAt > b.lastMessageAt;
    });
    return rows;
}

void ChatListModel::update() {
    const QList<Row> next = rowsOf(m_repository.state(), m_repository.typing());
    if (next.size() != m_rows.size() ||
        !std::is_permutation(next.begin(), next.end(), m_rows.begin(),
                             [](const Row& a, const Row& b) { return a.botId == b.botId; })) {
        // A contact came or went: the list is small, so it is simply built again.
        beginResetModel();
        m_rows = next;
        endResetModel();
        return;
    }
    // Same contacts: move each to its new place, then refresh what changed.
    for (int target = 0; target < next.size(); ++target) {
        const int current = rowOf(next[target].botId);
        if (current == target)
            continue;
        beginMoveRows({}, current, current, {}, target);
        m_rows.move(current, target);
        endMoveRows();
    }
    for (int row = 0; row < next.size(); ++row) {
        if (m_rows[row] == next[row])
            continue;
        m_rows[row] = next[row];
        Q_EMIT dataChanged(index(row), index(row));
    }
}

int ChatListModel::rowOf(const QString& botId) const {
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows[row].botId == botId)
            return row;
    }
    return -1;
}

QString ChatListModel::botIdAt(int row) const {
    return row >= 0 && row < m_rows.size() ? m_rows[row].botId : QString();
}

QString ChatListModel::neighbourOf(const QString& botId, int step) const {
    if (m_rows.isEmpty())
        return {};
    const int row = rowOf(botId);
    if (row < 0)
        return m_rows.first().botId;
    const int count = int(m_rows.size());
    return m_rows[((row + step) % count + count) % count].botId;
}

namespace {

// Lower case without accents, so that "jose" finds "José".
QString foldedForSearch(const QString& text) {
    QString folded;
    for (const QChar c : text.normalized(QString::NormalizationForm_D)) {
        if (c.category() != QChar::Mark_NonSpacing)
            folded.append(c.toCaseFolded());
    }
    return folded;
}

} // namespace

QVariantList ChatListModel::matching(const QString& text) const {
    const QString wanted = foldedForSearch(text.trimmed());
    QVariantList starting;
    QVariantList containing;
    for (const Row& row : m_rows) {
        const qsizetype at = foldedForSearch(row.name).indexOf(wanted);
        if (at < 0)
            continue;
        (at == 0 ? starting : containing)
            .append(QVariantMap{{QStringLiteral("botId"), row.botId},
                                {QStringLiteral("name"), row.name},
                                {QStringLiteral("language"), row.language}});
    }
    return starting + containing;
}

int ChatListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant ChatListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows[index.row()];
    switch (role) {
    case BotIdRole:
        return row.botId;
    case Qt::DisplayRole:
    case NameRole:
        return row.name;
    case InitialsRole:
        return row.initials;
    case AccentRole:
        return row.accent;
    case LanguageRole:
        return row.language;
    case LastMessageRole:
        return row.lastMessage;
    case LastMessageAtRole:
        return row.lastMessageAt;
    case UnreadRole:
        return row.unread;
    case TypingRole:
        return row.typing;
    case ActiveRole:
        return row.active;
    default:
        return {};
    }
}

QHash<int, QByteArray> ChatListModel::roleNames() const {
    return {{BotIdRole, "botId"},
            {NameRole, "name"},
            {InitialsRole, "initials"},
            {AccentRole, "accent"},
            {LanguageRole, "language"},
            {LastMessageRole, "lastMessage"},
            {LastMessageAtRole, "lastMessageAt"},
            {UnreadRole, "unread"},
            {TypingRole, "typing"},
            {ActiveRole, "active"}};
}

} // namespace quillo
