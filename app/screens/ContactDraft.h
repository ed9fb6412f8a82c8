// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/BotProfile.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class ChatRepository;

// The contact editor's working copy of one contact, new or existing. Fields change only the
// draft until `save`; forgetting memories and deleting act on the document at once, as the
// editor's buttons say.
class ContactDraft : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Drafts come from App.draftFor")
    Q_PROPERTY(bool isNew READ isNew CONSTANT)
    Q_PROPERTY(QString botId READ botId CONSTANT)
    Q_PROPERTY(QString displayName READ displayName WRITE setDisplayName NOTIFY changed)
    Q_PROPERTY(QString targetLanguage READ targetLanguage WRITE setTargetLanguage NOTIFY changed)
    Q_PROPERTY(QString topic READ topic WRITE setTopic NOTIFY changed)
    Q_PROPERTY(QString personality READ personality WRITE setPersonality NOTIFY changed)
    Q_PROPERTY(QString styleNote READ styleNote WRITE setStyleNote NOTIFY changed)
    Q_PROPERTY(QString notes READ notes WRITE setNotes NOTIFY changed)
    Q_PROPERTY(QString accent READ accent WRITE setAccent NOTIFY changed)
    Q_PROPERTY(QString initials READ initials NOTIFY changed)
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY changed)
    Q_PROPERTY(int style READ style WRITE setStyle NOTIFY changed)
    Q_PROPERTY(int gender READ gender WRITE setGender NOTIFY changed)
    Q_PROPERTY(int age READ age WRITE setAge NOTIFY changed)
    // What the contact remembers, as the document holds it now.
    Q_PROPERTY(QStringList memories READ memories NOTIFY memoriesChanged)
    // The reading line over the words of the contact's language, where that language has one.
    Q_PROPERTY(bool readingAvailable READ readingAvailable NOTIFY changed)
    Q_PROPERTY(bool showsReading READ showsReading WRITE setShowsReading NOTIFY changed)
    Q_PROPERTY(bool canSave READ canSave NOTIFY changed)
    Q_PROPERTY(QStringList styleTitles READ styleTitles CONSTANT)
    Q_PROPERTY(QStringList genderTitles READ genderTitles CONSTANT)
    Q_PROPERTY(QStringList ageTitles READ ageTitles CONSTANT)
    Q_PROPERTY(QStringList accents READ accents CONSTANT)
    // The practised languages, then "Any language": what the language picker offers.
    Q_PROPERTY(QStringList languageChoices READ languageChoices CONSTANT)

public:
    // An empty `botId`, or one the document does not hold, starts a new contact.
    ContactDraft(ChatRepository& repository, const QString& botId, QObject* parent = nullptr);

    bool isNew() const { return m_isNew; }
    const QString& botId() const { return m_bot.id; }
    const QString& displayName() const { return m_bot.displayName; }
    void setDisplayName(const QString& name);
    const QString& targetLanguage() const { return m_bot.targetLanguage; }
    void setTargetLanguage(const QString& language);
    const QString& topic() const { return m_bot.topic; }
    void setTopic(const QString& topic);
    const QString& personality() const { return m_bot.personality; }
    void setPersonality(const QString& personality);
    const QString& styleNote() const { return m_bot.styleNote; }
    void setStyleNote(const QString& note);
    const QString& notes() const { return m_bot.notes; }
    void setNotes(const QString& notes);
    const QString& accent() const { return m_bot.accent; }
    void setAccent(const QString& accent);
    QString initials() const { return m_bot.initials(); }
    bool active() const { return m_bot.isEnabled; }
    void setActive(bool active);
    int style() const;
    void setStyle(int index);
    int gender() const;
    void setGender(int index);
    int age() const;
    void setAge(int index);
    QStringList memories() const;
    bool readingAvailable() const;
    bool showsReading() const { return m_showsReading; }
    void setShowsReading(bool on);
    bool canSave() const;
    static QStringList styleTitles();
    static QStringList genderTitles();
    static QStringList ageTitles();
    static QStringList accents();
    QStringList languageChoices() const;

    // The draft as it would be saved: names and fields trimmed.
    BotProfile edited() const;

    Q_INVOKABLE void save();
    Q_INVOKABLE void remove();
    Q_INVOKABLE void forget(const QString& memory);
    Q_INVOKABLE void forgetEverything();

Q_SIGNALS:
    void changed();
    void memoriesChanged();

private:
    template <typename Field, typename Value>
    void update(Field BotProfile::*field, const Value& value);

    ChatRepository& m_repository;
    BotProfile m_bot;
    bool m_isNew;
    bool m_showsReading = false;
};

} // namespace quillo
