// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dictation/Dictation.h"
#include "dictation/ServiceRecognizer.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class AudioSource;
class ChatRepository;
class Clock;
class QuilloAPI;
class SessionStore;

// The composer's microphone: dictation in the language picked beside the button (the
// conversation's own unless the user chose another, which the document keeps for every
// conversation), the listening bar's transcript and bars, and the finished text handed to the
// composer.
class ComposerDictation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The conversation owns its dictation")
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(QList<float> levels READ levels NOTIFY levelsChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QStringList languages READ languages NOTIFY languageChanged)
    // Waiting for the last words after the user finished.
    Q_PROPERTY(bool finishing READ finishing NOTIFY finishingChanged)
    Q_PROPERTY(QString problemLine READ problemLine NOTIFY problemLineChanged)

public:
    struct Services {
        AudioSource& microphone;
        const QuilloAPI& api;
        const SessionStore& session;
        const Clock& clock;
    };

    ComposerDictation(Services services, ChatRepository& repository, QObject* parent = nullptr);

    bool active() const { return m_dictation.active(); }
    const QString& text() const { return m_dictation.text(); }
    const QList<float>& levels() const { return m_dictation.levels(); }
    QString language() const;
    void setLanguage(const QString& language);
    QStringList languages() const;
    bool finishing() const { return m_finishing; }
    const QString& problemLine() const { return m_problemLine; }

    // The open contact changed: dictation for the last one ends.
    void setBotId(const QString& botId);

    Q_INVOKABLE void start();
    Q_INVOKABLE void finish();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void dismissProblem();

    Dictation& dictation() { return m_dictation; }

Q_SIGNALS:
    void activeChanged();
    void textChanged();
    void levelsChanged();
    void languageChanged();
    void finishingChanged();
    void problemLineChanged();
    // The final transcript, for the composer; not sent when empty.
    void transcribed(const QString& text);

private:
    QString contactLanguage() const;
    void setFinishing(bool finishing);
    void setProblemLine(const QString& line);

    ChatRepository& m_repository;
    ServiceRecognizer m_recognizer;
    Dictation m_dictation;
    QString m_botId;
    bool m_finishing = false;
    QString m_problemLine;
};

} // namespace quillo
