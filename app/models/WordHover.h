// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"
#include "language/FreeTranslator.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

namespace quillo {

// The tooltip over the word under the pointer: the word, its reading, and its gloss once the
// lookup answers, or "No translation right now." in its place when the lookup fails. A newer
// word replaces an older one whose answer then no longer counts.
class WordHover : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the word hover")
    Q_PROPERTY(bool shown READ shown NOTIFY changed)
    Q_PROPERTY(QString word READ word NOTIFY changed)
    Q_PROPERTY(QString reading READ reading NOTIFY changed)
    Q_PROPERTY(QString gloss READ gloss NOTIFY changed)
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    Q_PROPERTY(QString failureLine READ failureLine NOTIFY changed)

public:
    // Glosses the word of a message: the message's glosses are fetched, then the word is
    // looked up.
    using Lookup = std::function<QCoro::Task<TranslationResult<Meaning>>(
        QString messageId, QString word, QString language)>;

    explicit WordHover(QObject* parent = nullptr);
    ~WordHover() override;

    void wire(Lookup lookup) { m_lookup = std::move(lookup); }

    bool shown() const { return m_shown; }
    const QString& word() const { return m_word; }
    const QString& reading() const { return m_reading; }
    const QString& gloss() const { return m_gloss; }
    bool busy() const { return m_busy; }
    const QString& failureLine() const { return m_failureLine; }

    // `knownGloss` is the message's own gloss for the word, shown until the lookup answers;
    // the answer replaces it, a failure included.
    Q_INVOKABLE void show(const QString& messageId, const QString& word, const QString& language,
                          const QString& knownGloss = {});
    Q_INVOKABLE void hide();

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> lookUp(quint64 request, QString messageId, QString word, QString language);

    Lookup m_lookup;
    bool m_shown = false;
    QString m_word;
    QString m_reading;
    QString m_gloss;
    bool m_busy = false;
    QString m_failureLine;
    quint64 m_request = 0;
    Lifetime m_lifetime;
};

} // namespace quillo
