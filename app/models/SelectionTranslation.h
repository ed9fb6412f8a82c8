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

// The panel for a selection of several words: the passage, its meaning and the alternatives,
// or the line that says why there is none.
class SelectionTranslation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the selection panel")
    Q_PROPERTY(bool shown READ shown NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString meaning READ meaning NOTIFY changed)
    Q_PROPERTY(QStringList alternatives READ alternatives NOTIFY changed)
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    Q_PROPERTY(QString failureLine READ failureLine NOTIFY changed)

public:
    using Lookup =
        std::function<QCoro::Task<TranslationResult<Meaning>>(QString language, QString text)>;

    explicit SelectionTranslation(QObject* parent = nullptr);
    ~SelectionTranslation() override;

    void wire(Lookup lookup) { m_lookup = std::move(lookup); }

    bool shown() const { return m_shown; }
    const QString& text() const { return m_text; }
    const QString& meaning() const { return m_meaning; }
    const QStringList& alternatives() const { return m_alternatives; }
    bool busy() const { return m_busy; }
    const QString& failureLine() const { return m_failureLine; }

    Q_INVOKABLE void translate(const QString& language, const QString& text);
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> lookUp(quint64 request, QString language, QString text);

    Lookup m_lookup;
    bool m_shown = false;
    QString m_text;
    QString m_meaning;
    QStringList m_alternatives;
    bool m_busy = false;
    QString m_failureLine;
    quint64 m_request = 0;
    Lifetime m_lifetime;
};

} // namespace quillo
