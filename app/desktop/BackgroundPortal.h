// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace quillo {

// Tells the desktop that Quillo goes on running with its window closed, through the background
// portal where the desktop has one; such a desktop may list Quillo among the apps running in the
// background, ask the user whether it may, or stop apps that never asked. Nothing waits for the
// answer: it is logged, and Quillo runs on whatever it says. Starting at login stays with
// LoginItem, so the request never asks for it.
class BackgroundPortal : public QObject {
    Q_OBJECT

public:
    enum class Answer { NotAsked, Waiting, Allowed, Refused, Unavailable };

    explicit BackgroundPortal(QDBusConnection bus, QObject* parent = nullptr);

    // Asks once, with `reason` for the dialog a desktop may show; later calls do nothing.
    void request(const QString& reason);
    Answer answer() const { return m_answer; }

Q_SIGNALS:
    // The answer came, or the portal is not there.
    void answered();

private Q_SLOTS:
    void responded(uint response, const QVariantMap& results);

private:
    void settle(Answer answer);

    QDBusConnection m_bus;
    Answer m_answer = Answer::NotAsked;
};

} // namespace quillo
