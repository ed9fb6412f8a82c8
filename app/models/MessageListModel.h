// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "language/MessageLayout.h"
#include "model/ChatMessage.h"

#include <QAbstractListModel>
#include <QDate>
#include <QHash>
#include <QLocale>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace quillo {

class ChatRepository;
struct StoredState;

// One conversation's messages, oldest first. A message's word segments and readings are laid
// out only when the view asks for them, which a list view does for the rows on screen, and are
// kept until the message or the reading settings change: scrolling a long chat lays out what
// comes into view and nothing else.
class MessageListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Conversations own their messages")
    Q_PROPERTY(QString botId READ botId WRITE setBotId NOTIFY botIdChanged)
    // Rows newest first, for a view that grows upwards from its bottom edge: it then builds the
    // newest messages first and never the oldest on the way to them.
    Q_PROPERTY(bool newestFirst READ newestFirst WRITE setNewestFirst NOTIFY newestFirstChanged)
    // The day of the oldest message ("yyyy-MM-dd"), whose label stands above all the others.
    Q_PROPERTY(QString oldestDay READ oldestDay NOTIFY oldestDayChanged)

public:
    enum Role {
        MessageIdRole = Qt::UserRole + 1,
        TextRole,
        FromUserRole,
        CreatedAtRole,
        LanguageRole,
        SegmentsRole, // [{start, end, gloss?}], UTF-16 offsets into the text
        ReadingsRole, // [{start, end, text}], empty unless the language shows pronunciation
        LinesRole,    // [[{text, gloss, reading, start, word}]], what the message view draws
        // The user's newest message while no reply is being written for it: a turn failed, or
        // the app stopped before one ran. Only the newest row can be unanswered.
        NotAnsweredRole,
        // For the view's day separators, which a bottom-to-top list puts under the newest
        // message of each day's run: the day ("yyyy-MM-dd", local time) of the next newer day
        // that has messages, whose label belongs there; empty for the newest day's run.
        DaySectionRole,
        // What a check of the user's message found: empty until it was checked, else {fine,
        // corrected, marks: [{text, change}], edits: [{original, corrected, explanation}]}.
        CorrectionRole,
    };

    // Lays out one message; the word break and transliteration of the language layer unless given.
    using LayOut = std::function<MessageLayout(const LayoutRequest&)>;

    explicit MessageListModel(ChatRepository& repository, QObject* parent = nullptr);
    MessageListModel(ChatRepository& repository, LayOut layOut, QObject* parent = nullptr);

    const QString& botId() const { return m_botId; }
    void setBotId(const QString& botId);
    bool newestFirst() const { return m_newestFirst; }
    void setNewestFirst(bool newestFirst);
    QString oldestDay() const;

    // What a day separator says: "Today", "Yesterday", the weekday within the last week, else
    // the date in the locale's long form.
    static QString dayLabel(QDate day, QDate today, const QLocale& locale);
    // The same for a day as the roles give it, against today's date and the default locale.
    Q_INVOKABLE QString dayLabel(const QString& day) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void botIdChanged();
    void newestFirstChanged();
    void oldestDayChanged();

private:
    struct Entry {
        ChatMessage message;
        QString language;
        bool withReadings = false;
        QString daySection;
    };

    QList<Entry> entriesOf(const StoredState& state) const;
    void update();
    void updateEntries();
    // Marks the row of the message that waits for an answer now, unmarking the one before.
    void followUnanswered();
    QString unansweredId() const;
    const MessageLayout& layoutOf(const Entry& entry) const;
    // The view's row of an entry, and back (the same mapping both ways).
    int rowOf(qsizetype entry) const;

    bool m_newestFirst = false;

    ChatRepository& m_repository;
    LayOut m_layOut;
    QString m_botId;
    QList<Entry> m_entries;
    QString m_unanswered;
    // By message id; an entry is laid out again when its text, glosses or settings change.
    mutable QHash<QString, std::pair<LayoutRequest, MessageLayout>> m_layouts;
};

} // namespace quillo
