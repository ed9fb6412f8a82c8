// SPDX-License-Identifier: Apache-2.0
#include "PostgresStorage.h"

#include "AccountEmail.h"
#include "Migration.h"
#include "PostgresConnection.h"

#include <algorithm>

namespace quillo::server {

namespace {

using Params = PostgresParams;

// Taken for the whole of migrate(), per schema, so that processes starting together apply each
// step once and in order; the server drops it by itself if a process dies holding it.
constexpr const char* lockMigrations =
    "SELECT pg_advisory_lock(hashtext('quillo-server migrations'),"
    " hashtext(coalesce(current_schema(), '')))";
constexpr const char* unlockMigrations =
    "SELECT pg_advisory_unlock(hashtext('quillo-server migrations'),"
    " hashtext(coalesce(current_schema(), '')))";

AccountRow accountFrom(const PostgresResult& result) {
    return AccountRow{result.int64At(0, 0), result.textAt(0, 1), result.textAt(0, 2),
                      result.int64At(0, 3)};
}

void applyMigration(PostgresConnection& db, const Migration& migration) {
    db.exec("BEGIN");
    try {
        const auto applied = db.exec("SELECT 1 FROM schema_migrations WHERE version = $1",
                                     Params().add(qint64(migration.version)));
        if (applied.rows() == 0) {
            for (const char* statement : migration.statements)
                db.exec(statement);
            db.exec("INSERT INTO schema_migrations (version) VALUES ($1)",
                    Params().add(qint64(migration.version)));
        }
        db.exec("COMMIT");
    } catch (...) {
        db.tryExec("ROLLBACK");
        throw;
    }
}

} // namespace

PostgresStorage::PostgresStorage(const QString& url, int maxConnections)
    : m_pool([url] { return std::make_unique<PostgresConnection>(url); }, maxConnections) {
    // Connects once up front, so that a wrong URL shows at start-up.
    m_pool.with([](PostgresConnection&) {});
}

PostgresStorage::~PostgresStorage() = default;

template <typename F>
auto PostgresStorage::withConnection(F&& work) {
    return m_pool.with(std::forward<F>(work));
}

void PostgresStorage::migrate() {
    withConnection([](PostgresConnection& db) {
        db.exec(lockMigrations);
        try {
            db.exec("CREATE TABLE IF NOT EXISTS schema_migrations ("
                    " version INTEGER PRIMARY KEY,"
                    " applied_at TIMESTAMPTZ NOT NULL DEFAULT now())");
            for (const Migration& migration : postgresMigrations())
                applyMigration(db, migration);
        } catch (...) {
            db.tryExec(unlockMigrations);
            throw;
        }
        db.exec(unlockMigrations);
    });
}

bool PostgresStorage::ping() {
    try {
        withConnection([](PostgresConnection& db) { db.exec(countCheck); });
        return true;
    } catch (const StorageError&) {
        return false;
    }
}

AccountRow PostgresStorage::ensureAccount(const QString& email, const QString& name, qint64 now) {
    return withConnection([&](PostgresConnection& db) {
        return accountFrom(db.exec("INSERT INTO accounts (email, name, created_at)"
                                   " VALUES ($1, $2, $3)"
                                   " ON CONFLICT (email) DO UPDATE SET name = CASE"
                                   " WHEN accounts.name = '' THEN excluded.name"
                                   " ELSE accounts.name END"
                                   " RETURNING id, email, name, created_at",
                                   Params().add(normalizedEmail(email)).add(name).add(now)));
    });
}

std::optional<AccountRow> PostgresStorage::account(qint64 accountId) {
    return withConnection([&](PostgresConnection& db) -> std::optional<AccountRow> {
        const auto result = db.exec("SELECT id, email, name, created_at FROM accounts"
                                    " WHERE id = $1",
                                    Params().add(accountId));
        if (result.rows() == 0)
            return std::nullopt;
        return accountFrom(result);
    });
}

void PostgresStorage::deleteAccount(qint64 accountId) {
    withConnection([&](PostgresConnection& db) {
        db.exec("DELETE FROM accounts WHERE id = $1", Params().add(accountId));
    });
}

void PostgresStorage::createSession(qint64 accountId, const QByteArray& tokenHash, qint64 now) {
    withConnection([&](PostgresConnection& db) {
        db.exec("INSERT INTO sessions (token_hash, account_id, created_at, last_used_at)"
                " VALUES ($1, $2, $3, $3)",
                Params().add(tokenHash).add(accountId).add(now));
    });
}

std::optional<SessionRow> PostgresStorage::useSession(const QByteArray& tokenHash,
                                                      qint64 idleCutoff, qint64 now) {
    return withConnection([&](PostgresConnection& db) -> std::optional<SessionRow> {
        const auto recent =
            db.exec("SELECT account_id, last_used_at FROM sessions"
                    " WHERE token_hash = $1 AND last_used_at >= $2",
                    Params().add(tokenHash).add(std::max(idleCutoff, now - sessionTouchInterval)));
        if (recent.rows() > 0)
            return SessionRow{recent.int64At(0, 0), recent.int64At(0, 1)};
        // GREATEST: a clock that stepped back does not age a session.
        const auto result = db.exec("UPDATE sessions SET last_used_at = GREATEST(last_used_at, $3)"
                                    " WHERE token_hash = $1 AND last_used_at >= $2"
                                    " RETURNING account_id, last_used_at",
                                    Params().add(tokenHash).add(idleCutoff).add(now));
        if (result.rows() == 0)
            return std::nullopt;
        return SessionRow{result.int64At(0, 0), result.int64At(0, 1)};
    });
}

void PostgresStorage::endSession(const QByteArray& tokenHash) {
    withConnection([&](PostgresConnection& db) {
        db.exec("DELETE FROM sessions WHERE token_hash = $1", Params().add(tokenHash));
    });
}

void PostgresStorage::purgeSessions(qint64 idleCutoff) {
    withConnection([&](PostgresConnection& db) {
        db.exec("DELETE FROM sessions WHERE last_used_at < $1", Params().add(idleCutoff));
    });
}

void PostgresStorage::addAccessCode(qint64 accountId, const QByteArray& codeHash, qint64 now) {
    withConnection([&](PostgresConnection& db) {
        db.exec("INSERT INTO access_codes (code_hash, account_id, created_at)"
                " VALUES ($1, $2, $3)",
                Params().add(codeHash).add(accountId).add(now));
    });
}

std::optional<qint64> PostgresStorage::accountForAccessCode(const QByteArray& codeHash,
                                                            qint64 issuedSince) {
    return withConnection([&](PostgresConnection& db) -> std::optional<qint64> {
        const auto result = db.exec("SELECT account_id FROM access_codes"
                                    " WHERE code_hash = $1 AND created_at >= $2",
                                    Params().add(codeHash).add(issuedSince));
        if (result.rows() == 0)
            return std::nullopt;
        return result.int64At(0, 0);
    });
}

void PostgresStorage::removeAccessCodes(qint64 accountId, qint64 issuedBefore) {
    withConnection([&](PostgresConnection& db) {
        db.exec("DELETE FROM access_codes WHERE account_id = $1 AND created_at < $2",
                Params().add(accountId).add(issuedBefore));
    });
}

int PostgresStorage::usedOn(qint64 accountId, qint64 day, Allowance allowance) {
    return withConnection([&](PostgresConnection& db) {
        const auto result =
            db.exec(allowance == Allowance::Feedback ? "SELECT feedback_count FROM reply_counts"
                                                       " WHERE account_id = $1 AND day = $2"
                                                     : "SELECT count FROM reply_counts"
                                                       " WHERE account_id = $1 AND day = $2",
                    Params().add(accountId).add(day));
        return result.rows() == 0 ? 0 : int(result.int64At(0, 0));
    });
}

bool PostgresStorage::reserve(qint64 accountId, qint64 day, Allowance allowance, int limit) {
    if (limit <= 0)
        return false;
    return withConnection([&](PostgresConnection& db) {
        // The row lock of the upsert makes concurrent reservations queue, and the WHERE is
        // checked against the count each one finds.
        return db.exec(allowance == Allowance::Feedback
                           ? "INSERT INTO reply_counts (account_id, day, count, feedback_count)"
                             " VALUES ($1, $2, 0, 1)"
                             " ON CONFLICT (account_id, day) DO UPDATE"
                             " SET feedback_count = reply_counts.feedback_count + 1"
                             " WHERE reply_counts.feedback_count < $3"
                           : "INSERT INTO reply_counts (account_id, day, count)"
                             " VALUES ($1, $2, 1)"
                             " ON CONFLICT (account_id, day) DO UPDATE"
                             " SET count = reply_counts.count + 1 WHERE reply_counts.count < $3",
                       Params().add(accountId).add(day).add(qint64(limit)))
                   .changes() == 1;
    });
}

void PostgresStorage::release(qint64 accountId, qint64 day, Allowance allowance) {
    withConnection([&](PostgresConnection& db) {
        db.exec(allowance == Allowance::Feedback
                    ? "UPDATE reply_counts SET feedback_count = feedback_count - 1"
                      " WHERE account_id = $1 AND day = $2 AND feedback_count > 0"
                    : "UPDATE reply_counts SET count = count - 1"
                      " WHERE account_id = $1 AND day = $2 AND count > 0",
                Params().add(accountId).add(day));
    });
}

std::optional<DocumentRow> PostgresStorage::document(qint64 accountId) {
    return withConnection([&](PostgresConnection& db) -> std::optional<DocumentRow> {
        const auto result = db.exec("SELECT bytes, updated_at FROM documents"
                                    " WHERE account_id = $1",
                                    Params().add(accountId));
        if (result.rows() == 0)
            return std::nullopt;
        return DocumentRow{result.bytesAt(0, 0), result.int64At(0, 1)};
    });
}

PutResult PostgresStorage::putDocument(qint64 accountId, const QByteArray& bytes,
                                       qint64 baseUpdatedAt, qint64 now) {
    return withConnection([&](PostgresConnection& db) {
        // A compare-and-set in one statement: a concurrent upload on the same base waits for
        // the row lock, then finds the stamp changed and matches nothing.
        const auto stored =
            baseUpdatedAt == 0
                ? db.exec("INSERT INTO documents (account_id, bytes, updated_at)"
                          " VALUES ($1, $2, GREATEST($3, 1))"
                          " ON CONFLICT (account_id) DO NOTHING RETURNING updated_at",
                          Params().add(accountId).add(bytes).add(now))
                : db.exec("UPDATE documents"
                          " SET bytes = $2, updated_at = GREATEST($3, updated_at + 1)"
                          " WHERE account_id = $1 AND updated_at = $4 RETURNING updated_at",
                          Params().add(accountId).add(bytes).add(now).add(baseUpdatedAt));
        if (stored.rows() == 1)
            return PutResult{true, stored.int64At(0, 0)};
        const auto current = db.exec("SELECT updated_at FROM documents WHERE account_id = $1",
                                     Params().add(accountId));
        return PutResult{false, current.rows() == 0 ? 0 : current.int64At(0, 0)};
    });
}

} // namespace quillo::server
