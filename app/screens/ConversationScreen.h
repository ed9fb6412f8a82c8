// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "models/MessageListModel.h"
#include "screens/ComposerDictation.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class Navigation;
class ChatRepository;
class SessionStore;

// The open conversation: its contact's header, its messages, whether a reply is being
// written, the composer's send and dictation, and the last error line (shown once, then
// dismissed).
class ConversationScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the conversation")
    Q_PROPERTY(QString botId READ botId NOTIFY contactChanged)
    Q_PROPERTY(QString name READ name NOTIFY contactChanged)
    Q_PROPERTY(QString initials READ initials NOTIFY contactChanged)
    Q_PROPERTY(QString accent READ accent NOTIFY contactChanged)
    // The language the contact writes now, for lookups and readings.
    Q_PROPERTY(QString language READ language NOTIFY contactChanged)
    // "Japanese · A2", under the name.
    Q_PROPERTY(QString languageLine READ languageLine NOTIFY contactChanged)
    Q_PROPERTY(bool active READ active NOTIFY contactChanged)
    Q_PROPERTY(bool typing READ typing NOTIFY typingChanged)
    Q_PROPERTY(quillo::MessageListModel* messages READ messages CONSTANT)
    Q_PROPERTY(QString errorLine READ errorLine NOTIFY errorLineChanged)
    // Said before the user writes when the service has no model that answers; empty otherwise.
    Q_PROPERTY(QString repliesNotice READ repliesNotice NOTIFY repliesNoticeChanged)
    Q_PROPERTY(quillo::ComposerDictation* dictation READ dictation CONSTANT)

public:
    ConversationScreen(ChatRepository& repository, Navigation& selection,
                       ComposerDictation::Services dictation, QObject* parent = nullptr);

    const QString& botId() const { return m_messages.botId(); }
    QString name() const;
    QString initials() const;
    QString accent() const;
    QString language() const;
    QString languageLine() const;
    bool active() const;
    bool typing() const;
    MessageListModel* messages() { return &m_messages; }
    const QString& errorLine() const { return m_errorLine; }
    QString repliesNotice() const;
    ComposerDictation* dictation() { return &m_dictation; }

    // Sends the composer's text, trimmed; blank text sends nothing. Gives whether it went.
    Q_INVOKABLE bool send(const QString& text);
    Q_INVOKABLE void dismissError();
    // "Try again" under the user's unanswered message: the contact answers it now.
    Q_INVOKABLE void answerAgain();
    // The message view asks for glosses of the contact's messages it shows.
    Q_INVOKABLE void prefetch(const QString& messageId);
    // Puts a message, or the part of it the user selected, on the clipboard.
    Q_INVOKABLE void copyText(const QString& text);

Q_SIGNALS:
    void contactChanged();
    void typingChanged();
    void errorLineChanged();
    void repliesNoticeChanged();

private:
    void follow();
    void setErrorLine(const QString& line);

    ChatRepository& m_repository;
    const SessionStore& m_session;
    Navigation& m_selection;
    MessageListModel m_messages;
    ComposerDictation m_dictation;
    QString m_errorLine;
};

} // namespace quillo
