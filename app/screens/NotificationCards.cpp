// SPDX-License-Identifier: Apache-2.0
#include "NotificationCards.h"

namespace quillo {

NotificationCards::NotificationCards(QObject* parent)
    : QAbstractListModel(parent) {
    connect(this, &QAbstractItemModel::rowsInserted, this, &NotificationCards::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &NotificationCards::countChanged);
}

int NotificationCards::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_cards.size());
}

QVariant NotificationCards::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const NotificationPayload& card = m_cards[index.row()];
    switch (role) {
    case BotIdRole:
        return card.botId;
    case TitleRole:
        return card.title;
    case InitialsRole:
        return card.initials;
    case AccentRole:
        return card.accent;
    case SubtitleRole:
        return card.subtitle;
    case BodyRole:
        return card.body;
    default:
        return {};
    }
}

QHash<int, QByteArray> NotificationCards::roleNames() const {
    return {{BotIdRole, "botId"},   {TitleRole, "title"},       {InitialsRole, "initials"},
            {AccentRole, "accent"}, {SubtitleRole, "subtitle"}, {BodyRole, "body"}};
}

void NotificationCards::setWindowActive(bool active) {
    if (active == m_windowActive)
        return;
    m_windowActive = active;
    if (active && !m_cards.isEmpty()) {
        beginResetModel();
        m_cards.clear();
        endResetModel();
        Q_EMIT countChanged();
    }
    Q_EMIT windowActiveChanged();
}

void NotificationCards::push(const NotificationPayload& payload) {
    if (m_windowActive)
        return;
    dismissFor(payload.botId);
    beginInsertRows({}, 0, 0);
    m_cards.prepend(payload);
    endInsertRows();
    if (m_cards.size() > mostCards) {
        beginRemoveRows({}, mostCards, int(m_cards.size()) - 1);
        m_cards.resize(mostCards);
        endRemoveRows();
    }
}

void NotificationCards::activate(int row) {
    if (row < 0 || row >= m_cards.size())
        return;
    const QString botId = m_cards[row].botId;
    dismiss(row);
    Q_EMIT activated(botId);
}

void NotificationCards::dismiss(int row) {
    if (row < 0 || row >= m_cards.size())
        return;
    beginRemoveRows({}, row, row);
    m_cards.removeAt(row);
    endRemoveRows();
}

void NotificationCards::dismissFor(const QString& botId) {
    for (int row = int(m_cards.size()) - 1; row >= 0; --row) {
        if (m_cards[row].botId == botId)
            dismiss(row);
    }
}

} // namespace quillo
