// SPDX-License-Identifier: Apache-2.0
#include "Navigation.h"

#include "repository/ChatRepository.h"

#include <QHash>

namespace quillo {

Navigation::Navigation(ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    // A conversation whose contact is removed closes.
    connect(&repository, &ChatRepository::stateChanged, this, [this](const StoredState& state) {
        if (m_selected && !state.bot(*m_selected))
            clearSelection();
    });
    // Signing out ends what was open over the chats: the next sign-in starts at the chats.
    connect(&repository, &ChatRepository::accountChanged, this, [this] {
        if (!m_repository.account())
            closeSheet();
    });
}

std::optional<QString> Navigation::mostRelevantChat(const StoredState& state) {
    QHash<QString, qint64> newestUnread;
    QHash<QString, qint64> newest;
    for (const ChatMessage& message : state.messages) {
        qint64& latest = newest[message.botId];
        latest = std::max(latest, message.createdAt);
        const auto mark = state.lastReadAt.constFind(message.botId);
        if (message.role == MessageRole::Assistant &&
            (mark == state.lastReadAt.cend() || message.createdAt > *mark)) {
            qint64& unread = newestUnread[message.botId];
            unread = std::max(unread, message.createdAt);
        }
    }
    const auto best = [&state](const QHash<QString, qint64>& times) -> std::optional<QString> {
        std::optional<QString> chosen;
        qint64 chosenAt = 0;
        for (const BotProfile& bot : state.bots) {
            const auto at = times.constFind(bot.id);
            if (at != times.cend() && (!chosen || *at > chosenAt)) {
                chosen = bot.id;
                chosenAt = *at;
            }
        }
        return chosen;
    };
    if (auto unread = best(newestUnread))
        return unread;
    if (auto recent = best(newest))
        return recent;
    for (const BotProfile& bot : state.bots) {
        if (bot.isEnabled)
            return bot.id;
    }
    if (!state.bots.isEmpty())
        return state.bots.first().id;
    return std::nullopt;
}

void Navigation::select(const QString& botId) {
    if (!m_repository.state().bot(botId))
        return;
    setSelected(botId);
    m_repository.editing().openConversation(botId);
}

void Navigation::clearSelection() {
    setSelected(std::nullopt);
}

void Navigation::focusMostRelevantChat() {
    if (const auto botId = mostRelevantChat(m_repository.state()))
        select(*botId);
}

void Navigation::showSheet(Sheet sheet) {
    if (m_sheet == sheet)
        return;
    m_sheet = sheet;
    Q_EMIT sheetChanged();
}

void Navigation::setSelected(std::optional<QString> botId) {
    if (m_selected == botId)
        return;
    m_selected = std::move(botId);
    m_repository.conversation().setVisibleBotId(m_windowShown ? m_selected : std::nullopt);
    Q_EMIT selectionChanged();
}

void Navigation::setWindowShown(bool shown) {
    if (shown == m_windowShown)
        return;
    m_windowShown = shown;
    m_repository.conversation().setVisibleBotId(m_windowShown ? m_selected : std::nullopt);
    // Coming back to an open conversation reads what arrived meanwhile.
    if (m_windowShown && m_selected)
        m_repository.editing().openConversation(*m_selected);
}

} // namespace quillo
