// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace quillo {

class ChatRepository;

// Feedback on what the user writes, for the conversation screen: checking one of the user's
// messages (the correction then arrives with the message itself), explaining a passage of a
// contact's message, and the sentence for what the user means, which goes into the composer
// for them to read over. A failure is said once in `problemLine`.
class FeedbackScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns its screens")
    // The messages being checked now.
    Q_PROPERTY(QStringList checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(QString problemLine READ problemLine NOTIFY problemLineChanged)
    // The passage explained or being explained: {selection, meaning, dictionaryForm,
    // partOfSpeech, grammarNote}; `explaining` while the answer is awaited.
    Q_PROPERTY(QVariantMap explanation READ explanation NOTIFY explanationChanged)
    Q_PROPERTY(bool explaining READ explaining NOTIFY explanationChanged)
    Q_PROPERTY(bool explanationShown READ explanationShown NOTIFY explanationChanged)
    // A sentence for what the user means is being written.
    Q_PROPERTY(bool helping READ helping NOTIFY helpingChanged)

public:
    explicit FeedbackScreen(ChatRepository& repository, QObject* parent = nullptr);
    ~FeedbackScreen() override;

    QStringList checking() const { return m_checking; }
    const QString& problemLine() const { return m_problemLine; }
    const QVariantMap& explanation() const { return m_explanation; }
    bool explaining() const { return m_explaining; }
    bool explanationShown() const { return m_explanationShown; }
    bool helping() const { return m_helping; }

    Q_INVOKABLE void check(const QString& messageId);
    Q_INVOKABLE void explain(const QString& messageId, const QString& selection);
    Q_INVOKABLE void closeExplanation();
    Q_INVOKABLE void sayIt(const QString& botId, const QString& text);
    Q_INVOKABLE void dismissProblem();

Q_SIGNALS:
    void checkingChanged();
    void problemLineChanged();
    void explanationChanged();
    void helpingChanged();
    // The sentence for what the user meant, and a short note on anything new in it.
    void sentenceReady(const QString& sentence, const QString& note);

private:
    QCoro::Task<> runCheck(QString messageId);
    QCoro::Task<> runExplain(quint64 request, QString messageId, QString selection);
    QCoro::Task<> runSayIt(QString botId, QString text);
    void setProblem(const QString& line);

    ChatRepository& m_repository;
    QStringList m_checking;
    QString m_problemLine;
    QVariantMap m_explanation;
    bool m_explaining = false;
    bool m_explanationShown = false;
    quint64 m_explainRequest = 0;
    bool m_helping = false;
    Lifetime m_lifetime;
};

} // namespace quillo
