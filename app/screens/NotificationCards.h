// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "models/NotificationPayload.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace quillo {

// The notification panel's cards, newest first: a reply that arrived while its chat was not on
// screen. A contact has at most one card (its newest messages), and only a few stay.
class NotificationCards : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the notification panel")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum Role {
        BotIdRole = Qt::UserRole + 1,
        TitleRole,
        InitialsRole,
        AccentRole,
        SubtitleRole,
        BodyRole
    };

    static constexpr int mostCards = 3;

    explicit NotificationCards(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    void push(const NotificationPayload& payload);
    const QList<NotificationPayload>& cards() const { return m_cards; }

    // Opens the card's conversation and takes the card away.
    Q_INVOKABLE void activate(int row);
    Q_INVOKABLE void dismiss(int row);
    // A card for a conversation that is now read has nothing more to say.
    void dismissFor(const QString& botId);

Q_SIGNALS:
    void activated(const QString& botId);
    void countChanged();

private:
    QList<NotificationPayload> m_cards;
};

} // namespace quillo
