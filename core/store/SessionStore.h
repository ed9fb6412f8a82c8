// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Account.h"
#include "service/QuilloSession.h"

#include <QObject>
#include <QString>

#include <optional>

namespace quillo {

// Who is signed in and how far the local document has been synchronised, kept across runs in
// one small JSON file that holds the bearer token (so it is private to the user). The owner
// outlives an ended session, so that the next sign-in can tell a returning owner from someone
// else. Lives on the main thread; every change is written at once, and a failed write is only
// logged: the app goes on with the new values for this run.
class SessionStore : public QObject {
    Q_OBJECT

public:
    // Reads `path` (normally "session.json" in the support directory). A missing or unusable
    // file means signed out and never synchronised; nothing is written until the first change.
    explicit SessionStore(QString path, QObject* parent = nullptr);

    const QString& path() const { return m_path; }

    // The published account; absent when signed out or after the session ended.
    const std::optional<Account>& account() const { return m_record.account; }
    // The bearer token, only while an account is published.
    std::optional<QString> token() const;
    // E-mail of the account the local data belongs to.
    const std::optional<QString>& owner() const { return m_record.owner; }
    // The service's stamp of the last successful download or upload; 0 = never synchronised.
    qint64 syncedAt() const { return m_record.syncedAt; }
    const std::optional<QString>& syncedFingerprint() const { return m_record.syncedFingerprint; }

    // Takes a new session; the local data now belongs to its account. Sync fields stay.
    void signedIn(const QuilloSession& session);
    // A fresher report of the signed-in account, with a new token when the service gave one.
    // Ignored unless that same e-mail is signed in: a late answer for an account that has since
    // signed out must not bring it back.
    void update(const Account& account, std::optional<QString> token = {});
    // Whether the service said, last time it was asked, that it can produce replies now; absent
    // until it says, and not kept across runs.
    const std::optional<bool>& repliesReady() const { return m_repliesReady; }
    void setRepliesReady(std::optional<bool> ready);

    // Records a successful synchronisation; publishes nothing.
    void synced(qint64 at, std::optional<QString> fingerprint);
    // The service no longer accepts the token. The owner and sync fields stay, tying the local
    // data to its owner.
    void expire();
    // Forgets everything, owner and sync state included.
    void signOut();

Q_SIGNALS:
    // Emitted on every publish, after the store holds the new account and before the write.
    void accountChanged(std::optional<quillo::Account> account);
    void repliesReadyChanged();

private:
    struct Record {
        std::optional<QString> token;
        std::optional<Account> account;
        std::optional<QString> owner;
        qint64 syncedAt = 0;
        std::optional<QString> syncedFingerprint;
    };

    static Record read(const QString& path);
    void publish();
    void write() const;

    QString m_path;
    Record m_record;
    std::optional<bool> m_repliesReady;
};

} // namespace quillo

Q_DECLARE_METATYPE(std::optional<quillo::Account>)
