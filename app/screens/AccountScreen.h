// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/AccountFlows.h"
#include "common/Lifetime.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace quillo {

class ChatRepository;
class GoogleSignIn;

// The sign-in screen and the account part of the settings: who is signed in, signing in with an
// access code, signing out and deleting the account, each with the line the screen shows.
class AccountScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application owns the account screen")
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY accountChanged)
    Q_PROPERTY(QString email READ email NOTIFY accountChanged)
    // Whose data is still here after their session ended; empty otherwise.
    Q_PROPERTY(QString returningEmail READ returningEmail NOTIFY accountChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(QString failureLine READ failureLine NOTIFY failureLineChanged)
    Q_PROPERTY(QString deleteFailureLine READ deleteFailureLine NOTIFY deleteFailureLineChanged)
    // Whether this build can sign in with Google from the desktop.
    Q_PROPERTY(bool googleAvailable READ googleAvailable CONSTANT)
    // A Google sign-in waits for the browser.
    Q_PROPERTY(bool waitingForBrowser READ waitingForBrowser NOTIFY busyChanged)
    // One line when the service is reached in the clear over a network; empty otherwise.
    Q_PROPERTY(QString connectionWarning READ connectionWarning CONSTANT)
    // For a service on this computer: where the launch script keeps the access code.
    Q_PROPERTY(QString localCodeHint READ localCodeHint CONSTANT)

public:
    // Without `google` (no client id configured) only access codes sign in. `service` is where
    // the service is reached.
    AccountScreen(ChatRepository& repository, GoogleSignIn* google, const QUrl& service,
                  QObject* parent = nullptr);
    ~AccountScreen() override;

    bool signedIn() const;
    QString email() const;
    QString returningEmail() const;
    bool busy() const { return m_busy; }
    const QString& failureLine() const { return m_failureLine; }
    const QString& deleteFailureLine() const { return m_deleteFailureLine; }
    bool googleAvailable() const { return m_google != nullptr; }
    bool waitingForBrowser() const;
    const QString& connectionWarning() const { return m_connectionWarning; }
    const QString& localCodeHint() const { return m_localCodeHint; }

    Q_INVOKABLE void signInWithCode(const QString& code);
    Q_INVOKABLE void continueWithGoogle();
    Q_INVOKABLE void cancelGoogle();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void deleteAccount();

Q_SIGNALS:
    void accountChanged();
    void busyChanged();
    void failureLineChanged();
    void deleteFailureLineChanged();

private:
    QCoro::Task<> signingIn(QString code);
    QCoro::Task<> signingInWithGoogle();
    void finishSignIn(const AccountFlows::Outcome& outcome);
    QCoro::Task<> signingOut();
    QCoro::Task<> deleting();
    void setBusy(bool busy);
    void setFailureLine(const QString& line);
    void setDeleteFailureLine(const QString& line);

    ChatRepository& m_repository;
    GoogleSignIn* m_google;
    bool m_busy = false;
    QString m_failureLine;
    QString m_deleteFailureLine;
    const QString m_connectionWarning;
    const QString m_localCodeHint;
    Lifetime m_lifetime;
};

} // namespace quillo
