// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "models/NotificationPayload.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace quillo {

// The notification panel's cards, newest first: a reply that arrived while its chat was not on
// screen. A contact has at most one card (its newest messages), and only a few stay. While
// Quillo's own window is the active one there are none: the chat list already shows the reply.
class NotificationCards : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the notification panel")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // Set by the main window: whether it is the window the user works in now.
    Q_PROPERTY(bool windowActive READ windowActive WRITE setWindowActive NOTIFY windowActiveChanged)

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
    bool windowActive() const { return m_windowActive; }
    // Becoming active takes the cards away.
    void setWindowActive(bool active);
    const QList<NotificationPayload>& cards() const { return m_cards; }

    // Opens the card's conversation and takes the card away.
    Q_INVOKABLE void activate(int row);
    Q_INVOKABLE void dismiss(int row);
    // A card for a conversation that is now read has nothing more to say.
    void dismissFor(const QString& botId);

Q_SIGNALS:
    void activated(const QString& botId);
    void countChanged();
    void windowActiveChanged();

private:
    QList<NotificationPayload> m_cards;
    bool m_windowActive = false;
};

} // namespace quillo
