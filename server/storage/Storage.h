// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <stdexcept>

namespace quillo::server {

// A failure of the database itself (unreachable, full, corrupt). Handlers answer it with a 503;
// it never carries user data.
class StorageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct AccountRow {
    qint64 id = 0;
    QString email; // lower case, unique
    QString name;
    qint64 createdAt = 0; // milliseconds since 1970
};

struct SessionRow {
    qint64 accountId = 0;
    qint64 lastUsedAt = 0;
};

struct DocumentRow {
    QByteArray bytes;     // exactly as uploaded
    qint64 updatedAt = 0; // version stamp; only grows
};

// What an upload did: stored under a new stamp, or refused because the caller's base is not
// the current stamp.
struct PutResult {
    bool stored = false;
    qint64 updatedAt = 0; // the new stamp when stored, else the current one (0: no document)
};

// The daily allowances of an account: model replies for its contacts, and feedback on what
// the user writes (corrections, explanations), each with its own limit so that checking
// messages never uses up the replies.
enum class Allowance { Replies, Feedback };

// Everything the service keeps, behind one interface with an SQLite and a PostgreSQL
// implementation. Every query is scoped to one account id; no method reads across accounts.
// Implementations are safe to call from many request threads at once. Failures of the database
// throw StorageError.
class Storage {
public:
    static constexpr qint64 sessionTouchInterval = 60'000; // milliseconds

    virtual ~Storage() = default;

    // Applies the schema migrations this build knows that the database has not seen yet.
    virtual void migrate() = 0;
    // Whether the database answers and takes a write (one small row), for readiness checks: a
    // database that can only be read cannot keep anything a client sends.
    virtual bool ping() = 0;
    // Whether the database this storage opened is gone (its file deleted or replaced while the
    // service ran): every call fails from then on, and the service should stop rather than
    // serve from anything else.
    virtual bool lost() const { return false; }

    // The account of this e-mail address, created with `name` when there is none yet (an
    // existing account keeps its name unless it has none).
    virtual AccountRow ensureAccount(const QString& email, const QString& name, qint64 now) = 0;
    virtual std::optional<AccountRow> account(qint64 accountId) = 0;
    // Removes the account with its sessions, access codes, document and counters.
    virtual void deleteAccount(qint64 accountId) = 0;

    // Sessions are stored by the SHA-256 of their token only.
    virtual void createSession(qint64 accountId, const QByteArray& tokenHash, qint64 now) = 0;
    // The session, if it exists and was used at or after `idleCutoff`; touches it to `now`
    // unless it was used within the last `sessionTouchInterval`, so that most authenticated
    // requests read the session without a durable write.
    virtual std::optional<SessionRow> useSession(const QByteArray& tokenHash, qint64 idleCutoff,
                                                 qint64 now) = 0;

    // Ends one session (signing out); nothing when there is no such session.
    virtual void endSession(const QByteArray& tokenHash) = 0;
    // Removes every session last used before `idleCutoff`, which useSession() refuses anyway.
    virtual void purgeSessions(qint64 idleCutoff) = 0;

    // Access codes (from `quillo-server invite`) are stored by their SHA-256 only, with the
    // time they were issued.
    virtual void addAccessCode(qint64 accountId, const QByteArray& codeHash, qint64 now) = 0;
    // The account of a code issued at or after `issuedSince`; older codes have expired.
    virtual std::optional<qint64> accountForAccessCode(const QByteArray& codeHash,
                                                       qint64 issuedSince) = 0;
    // Removes the account's codes issued before `issuedBefore` (expired ones, or all of them
    // when a new code is to be the only one).
    virtual void removeAccessCodes(qint64 accountId, qint64 issuedBefore) = 0;

    // What was counted of `allowance` on `day` (days since 1970, UTC).
    virtual int usedOn(qint64 accountId, qint64 day, Allowance allowance) = 0;
    // Takes one of the day's `allowance` if fewer than `limit` are taken; atomically, so
    // concurrent requests never exceed the limit. Returns whether one was taken. The allowances
    // are counted apart: taking feedback never takes a reply, nor the other way round.
    virtual bool reserve(qint64 accountId, qint64 day, Allowance allowance, int limit) = 0;
    // Gives back one that was reserved for a request that failed: only successes count.
    virtual void release(qint64 accountId, qint64 day, Allowance allowance) = 0;

    virtual std::optional<DocumentRow> document(qint64 accountId) = 0;
    // Stores `bytes` when the current stamp equals `baseUpdatedAt` (0 meaning "no document
    // yet"), as one compare-and-set, under a stamp greater than both the current one and `now`-
    // derived candidates: max(now, current + 1).
    virtual PutResult putDocument(qint64 accountId, const QByteArray& bytes, qint64 baseUpdatedAt,
                                  qint64 now) = 0;
};

// "sqlite:PATH" or "postgres://..." / "postgresql://...". Throws StorageError for anything else
// or when the database cannot be opened.
std::unique_ptr<Storage> openStorage(const QString& databaseUrl);

} // namespace quillo::server
