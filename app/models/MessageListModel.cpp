// SPDX-License-Identifier: Apache-2.0
#include "MessageListModel.h"

#include "CorrectionMarks.h"
#include "MessageLines.h"
#include "model/Languages.h"
#include "repository/ChatRepository.h"

#include <QDateTime>
#include <QVariantMap>

namespace quillo {

namespace {

bool sameRequest(const LayoutRequest& a, const LayoutRequest& b) {
    return a.withReadings == b.withReadings && a.language == b.language && a.text == b.text &&
           a.glosses == b.glosses;
}

QVariantMap correctionForView(const ChatMessage& message) {
    if (!message.correction)
        return {};
    const Correction& correction = *message.correction;
    QVariantList edits;
    for (const CorrectionEdit& edit : correction.edits)
        edits.append(QVariantMap{{QStringLiteral("original"), edit.original},
                                 {QStringLiteral("corrected"), edit.corrected},
                                 {QStringLiteral("explanation"), edit.explanation}});
    const bool fine = correction.isFine(message.text);
    return {{QStringLiteral("fine"), fine},
            {QStringLiteral("corrected"), correction.corrected},
            {QStringLiteral("marks"),
             fine ? QVariantList() : correctionMarksForView(message.text, correction.corrected)},
            {QStringLiteral("edits"), edits}};
}

QString dayOf(qint64 millis) {
    return QDateTime::fromMSecsSinceEpoch(millis).date().toString(Qt::ISODate);
}

} // namespace

MessageListModel::MessageListModel(ChatRepository& repository, QObject* parent)
    : MessageListModel(repository, layOutMessage, parent) {}

MessageListModel::MessageListModel(ChatRepository& repository, LayOut layOut, QObject* parent)
    : QAbstractListModel(parent)
    , m_repository(repository)
    , m_layOut(std::move(layOut)) {
    connect(&repository, &ChatRepository::stateChanged, this, &MessageListModel::update);
    connect(&repository, &ChatRepository::typingChanged, this, &MessageListModel::followUnanswered);
}

void MessageListModel::setBotId(const QString& botId) {
    if (botId == m_botId)
        return;
    beginResetModel();
    m_botId = botId;
    m_entries = entriesOf(m_repository.state());
    m_layouts.clear();
    m_unanswered = unansweredId();
    endResetModel();
    Q_EMIT botIdChanged();
    Q_EMIT oldestDayChanged();
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
        entries.append({message, language, readings, {}});
    }
    // From the newest back: each day's run carries the day of the run after it.
    QString runDay;
    QString newerDay;
    for (qsizetype i = entries.size() - 1; i >= 0; --i) {
        const QString day = dayOf(entries[i].message.createdAt);
        if (i < entries.size() - 1 && day != runDay)
            newerDay = runDay;
        runDay = day;
        entries[i].daySection = newerDay;
    }
    return entries;
}

QString MessageListModel::oldestDay() const {
    return m_entries.isEmpty() ? QString() : dayOf(m_entries.first().message.createdAt);
}

QString MessageListModel::dayLabel(QDate day, QDate today, const QLocale& locale) {
    const qint64 ago = day.daysTo(today);
    if (ago == 0)
        return QStringLiteral("Today");
    if (ago == 1)
        return QStringLiteral("Yesterday");
    if (ago > 1 && ago < 7)
        return locale.standaloneDayName(day.dayOfWeek(), QLocale::LongFormat);
    return locale.toString(day, QLocale::LongFormat);
}

QString MessageListModel::dayLabel(const QString& day) const {
    const QDate date = QDate::fromString(day, Qt::ISODate);
    return date.isValid() ? dayLabel(date, QDate::currentDate(), QLocale()) : QString();
}

QString MessageListModel::unansweredId() const {
    if (m_entries.isEmpty() || m_repository.typing().contains(m_botId))
        return {};
    const ChatMessage& newest = m_entries.last().message;
    return newest.role == MessageRole::User ? newest.id : QString();
}

void MessageListModel::followUnanswered() {
    const QString now = unansweredId();
    if (now == m_unanswered)
        return;
    const QString before = std::exchange(m_unanswered, now);
    for (qsizetype entry = 0; entry < m_entries.size(); ++entry) {
        const QString& id = m_entries[entry].message.id;
        if (id == before || id == now)
            Q_EMIT dataChanged(index(rowOf(entry)), index(rowOf(entry)), {NotAnsweredRole});
    }
}

void MessageListModel::update() {
    const QString oldest = oldestDay();
    updateEntries();
    followUnanswered();
    if (oldestDay() != oldest)
        Q_EMIT oldestDayChanged();
}

void MessageListModel::updateEntries() {
    const QList<Entry> next = entriesOf(m_repository.state());
    // The usual change: new messages at the end, or glosses arriving for one.
    qsizetype kept = 0;
    while (kept < m_entries.size() && kept < next.size() &&
           m_entries[kept].message.id == next[kept].message.id)
        ++kept;
    if (kept < m_entries.size()) {
        beginResetModel();
        m_entries = next;
        m_unanswered = unansweredId();
        endResetModel();
        return;
    }
    for (qsizetype row = 0; row < kept; ++row) {
        const Entry& now = next[row];
        const Entry& before = m_entries[row];
        if (now.message == before.message && now.language == before.language &&
            now.withReadings == before.withReadings && now.daySection == before.daySection)
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
    case NotAnsweredRole:
        return !m_unanswered.isEmpty() && entry.message.id == m_unanswered;
    case DaySectionRole:
        return entry.daySection;
    case CorrectionRole:
        return correctionForView(entry.message);
    default:
        return {};
    }
}

QHash<int, QByteArray> MessageListModel::roleNames() const {
    return {{MessageIdRole, "messageId"},     {TextRole, "text"},
            {FromUserRole, "fromUser"},       {CreatedAtRole, "createdAt"},
            {LanguageRole, "language"},       {SegmentsRole, "segments"},
            {ReadingsRole, "readings"},       {LinesRole, "lines"},
            {NotAnsweredRole, "notAnswered"}, {DaySectionRole, "daySection"},
            {CorrectionRole, "correction"}};
}

} // namespace quillo
