// SPDX-License-Identifier: Apache-2.0
#include "MessageListModel.h"

#include "MessageLines.h"
#include "model/Languages.h"
#include "repository/ChatRepository.h"

#include <QVariantMap>

namespace quillo {

namespace {

bool sameRequest(const LayoutRequest& a, const LayoutRequest& b) {
    return a.withReadings == b.withReadings && a.language == b.language && a.text == b.text &&
           a.glosses == b.glosses;
}

} // namespace

MessageListModel::MessageListModel(ChatRepository& repository, QObject* parent)
    : MessageListModel(repository, layOutMessage, parent) {}

MessageListModel::MessageListModel(ChatRepository& repository, LayOut layOut, QObject* parent)
    : QAbstractListModel(parent)
    , m_repository(repository)
    , m_layOut(std::move(layOut)) {
    connect(&repository, &ChatRepository::stateChanged, this, &MessageListModel::update);
}

void MessageListModel::setBotId(const QString& botId) {
    if (botId == m_botId)
        return;
    beginResetModel();
    m_botId = botId;
    m_entries = entriesOf(m_repository.state());
    m_layouts.clear();
    endResetModel();
    Q_EMIT botIdChanged();
}

void MessageListModel::setNewestFirst(bool newestFirst) {
    if (newestFirst == m_newestFirst)
        return;
    beginResetModel();
    m_newestFirst = newestFirst;
    endResetModel();
    Q_EMIT newestFirstChanged();
}

int MessageListModel::rowOf(qsizetype entry) const {
    return int(m_newestFirst ? m_entries.size() - 1 - entry : entry);
}

QList<MessageListModel::Entry> MessageListModel::entriesOf(const StoredState& state) const {
    const std::optional<BotProfile> bot = state.bot(m_botId);
    if (!bot)
        return {};
    QList<Entry> entries;
    for (const ChatMessage& message : state.messages) {
        if (message.botId != m_botId)
            continue;
        const QString language = bot->language(message);
        // The reading line stands above the contact's words, not the user's own.
        const bool readings = message.role == MessageRole::Assistant &&
                              supportsRomanization(language) &&
                              state.profile.settings(language).showsRomanization;
        entries.append({message, language, readings});
    }
    return entries;
}

void MessageListModel::update() {
    const QList<Entry> next = entriesOf(m_repository.state());
    // The usual change: new messages at the end, or glosses arriving for one.
    qsizetype kept = 0;
    while (kept < m_entries.size() && kept < next.size() &&
           m_entries[kept].message.id == next[kept].message.id)
        ++kept;
    if (kept < m_entries.size()) {
        beginResetModel();
        m_entries = next;
        endResetModel();
        return;
    }
    for (qsizetype row = 0; row < kept; ++row) {
        const Entry& now = next[row];
        const Entry& before = m_entries[row];
        if (now.message == before.message && now.language == before.language &&
            now.withReadings == before.withReadings)
            continue;
        m_entries[row] = now;
        Q_EMIT dataChanged(index(rowOf(row)), index(rowOf(row)));
    }
    if (next.size() > kept) {
        const int added = int(next.size() - kept);
        if (m_newestFirst)
            beginInsertRows({}, 0, added - 1);
        else
            beginInsertRows({}, int(kept), int(kept) + added - 1);
        m_entries.append(next.mid(kept));
        endInsertRows();
    }
}

const MessageLayout& MessageListModel::layoutOf(const Entry& entry) const {
    const LayoutRequest request{entry.message.text, entry.message.words, entry.language,
                                entry.withReadings};
    auto cached = m_layouts.find(entry.message.id);
    if (cached != m_layouts.end() && sameRequest(cached->first, request))
        return cached->second;
    return m_layouts.insert(entry.message.id, {request, m_layOut(request)})->second;
}

int MessageListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant MessageListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Entry& entry = m_entries[rowOf(index.row())];
    switch (role) {
    case MessageIdRole:
        return entry.message.id;
    case Qt::DisplayRole:
    case TextRole:
        return entry.message.text;
    case FromUserRole:
        return entry.message.role == MessageRole::User;
    case CreatedAtRole:
        return entry.message.createdAt;
    case LanguageRole:
        return entry.language;
    case SegmentsRole: {
        QVariantList segments;
        for (const Segment& segment : layoutOf(entry).segments) {
            QVariantMap item{{QStringLiteral("start"), segment.start},
                             {QStringLiteral("end"), segment.end}};
            if (segment.gloss)
                item.insert(QStringLiteral("gloss"), *segment.gloss);
            segments.append(item);
        }
        return segments;
    }
    case ReadingsRole: {
        QVariantList readings;
        for (const Reading& reading : layoutOf(entry).readings)
            readings.append(QVariantMap{{QStringLiteral("start"), reading.range.location},
                                        {QStringLiteral("end"), reading.range.end()},
                                        {QStringLiteral("text"), reading.text}});
        return readings;
    }
    case LinesRole:
        return messageLinesForView(entry.message.text, layoutOf(entry));
    default:
        return {};
    }
}

QHash<int, QByteArray> MessageListModel::roleNames() const {
    return {{MessageIdRole, "messageId"}, {TextRole, "text"},         {FromUserRole, "fromUser"},
            {CreatedAtRole, "createdAt"}, {LanguageRole, "language"}, {SegmentsRole, "segments"},
            {ReadingsRole, "readings"},   {LinesRole, "lines"}};
}

} // namespace quillo
