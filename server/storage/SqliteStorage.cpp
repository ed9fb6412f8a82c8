// SPDX-License-Identifier: Apache-2.0
#include "SqliteStorage.h"

#include "AccountEmail.h"
#include "Migration.h"
#include "SqliteConnection.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

#include <sys/stat.h>

namespace quillo::server {

namespace {

using Role = SqliteConnection::Role;

Q_LOGGING_CATEGORY(lcStorage, "quillo.storage")

bool isInMemory(const QString& path) {
    return path == u":memory:";
}

std::optional<std::pair<dev_t, ino_t>> fileIdentity(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return std::pair{info.st_dev, info.st_ino};
}

AccountRow accountFrom(const SqliteStatement& row) {
    return AccountRow{row.int64At(0), row.textAt(1), row.textAt(2), row.int64At(3)};
}

void applyMigration(SqliteConnection& db, const Migration& migration) {
    // IMMEDIATE takes the write lock before the check, so a second process that starts at the
    // same time waits and then sees the version as applied.
    db.exec("BEGIN IMMEDIATE");
    try {
        auto applied = db.prepare("SELECT 1 FROM schema_migrations WHERE version = ?1");
        applied.bind(1, migration.version);
        if (!applied.step()) {
            for (const char* statement : migration.statements)
                db.exec(statement);
            db.prepare("INSERT INTO schema_migrations (version) VALUES (?1)")
                .bind(1, migration.version)
                .run();
        }
        db.exec("COMMIT");
    } catch (...) {
        db.tryExec("ROLLBACK"); // the original failure is the one worth reporting
        throw;
    }
}

} // namespace

SqliteStorage::SqliteStorage(const QString& path, int maxReaders)
    : m_path(path)
    , m_writer([path] { return std::make_unique<SqliteConnection>(path, Role::Writer); }, 1) {
    if (path.isEmpty())
        throw StorageError("sqlite: the database path is empty");
    if (!isInMemory(path)) {
        const QString directory = QFileInfo(path).absolutePath();
        if (!QDir().mkpath(directory))
            throw StorageError("sqlite: cannot create the directory " + directory.toStdString());
        // An in-memory database lives on its one connection, so reads take that one too.
        m_readers.emplace([path] { return std::make_unique<SqliteConnection>(path, Role::Reader); },
                          maxReaders);
    }
    m_writer.with([](SqliteConnection&) {}); // creates the file, and shows a bad path now
    if (!isInMemory(path))
        m_file = fileIdentity(path);
}

void SqliteStorage::checkFile() {
    if (!m_file)
        return;
    if (!m_lost && fileIdentity(m_path) == m_file)
        return;
    if (!m_lost.exchange(true)) {
        qCCritical(lcStorage).noquote()
            << "the database file" << m_path
            << "was replaced or deleted while the service ran; stopping";
    }
    throw StorageError("sqlite: the database file was replaced or deleted");
}

SqliteStorage::~SqliteStorage() = default;

template <typename F>
auto SqliteStorage::write(F&& work) {
    checkFile();
    return m_writer.with(std::forward<F>(work));
}

template <typename F>
auto SqliteStorage::read(F&& work) {
    if (!m_readers)
        return write(std::forward<F>(work));
    checkFile();
    return m_readers->with(std::forward<F>(work));
}

void SqliteStorage::migrate() {
    write([](SqliteConnection& db) {
        db.exec("CREATE TABLE IF NOT EXISTS schema_migrations ("
                " version INTEGER PRIMARY KEY,"
                " applied_at TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP)");
        for (const Migration& migration : sqliteMigrations())
            applyMigration(db, migration);
    });
}

bool SqliteStorage::ping() {
    try {
        write([](SqliteConnection& db) { db.exec(countCheck); });
        return true;
    } catch (const StorageError&) {
        return false;
    }
}

AccountRow SqliteStorage::ensureAccount(const QString& email, const QString& name, qint64 now) {
    return write([&](SqliteConnection& db) {
        auto row = db.prepare("INSERT INTO accounts (email, name, created_at) VALUES (?1, ?2, ?3)"
                              " ON CONFLICT (email) DO UPDATE SET name = CASE"
                              " WHEN accounts.name = '' THEN excluded.name"
                              " ELSE accounts.name END"
                              " RETURNING id, email, name, created_at");
        row.bind(1, normalizedEmail(email)).bind(2, name).bind(3, now);
        if (!row.step())
            db.fail("creating an account");
        AccountRow account = accountFrom(row);
        row.run(); // the change commits when the statement completes
        return account;
    });
}

std::optional<AccountRow> SqliteStorage::account(qint64 accountId) {
    return read([&](SqliteConnection& db) -> std::optional<AccountRow> {
        auto row = db.prepare("SELECT id, email, name, created_at FROM accounts WHERE id = ?1");
        row.bind(1, accountId);
        if (!row.step())
            return std::nullopt;
        return accountFrom(row);
    });
}

void SqliteStorage::deleteAccount(qint64 accountId) {
    write([&](SqliteConnection& db) {
        db.prepare("DELETE FROM accounts WHERE id = ?1").bind(1, accountId).run();
    });
}

void SqliteStorage::createSession(qint64 accountId, const QByteArray& tokenHash, qint64 now) {
    write([&](SqliteConnection& db) {
        db.prepare("INSERT INTO sessions (token_hash, account_id, created_at, last_used_at)"
                   " VALUES (?1, ?2, ?3, ?3)")
            .bind(1, tokenHash)
            .bind(2, accountId)
            .bind(3, now)
            .run();
    });
}

std::optional<SessionRow> SqliteStorage::useSession(const QByteArray& tokenHash, qint64 idleCutoff,
                                                    qint64 now) {
    const auto recent = read([&](SqliteConnection& db) -> std::optional<SessionRow> {
        auto row = db.prepare("SELECT account_id, last_used_at FROM sessions"
                              " WHERE token_hash = ?1 AND last_used_at >= ?2");
        row.bind(1, tokenHash).bind(2, std::max(idleCutoff, now - sessionTouchInterval));
        if (!row.step())
            return std::nullopt;
        return SessionRow{row.int64At(0), row.int64At(1)};
    });
    if (recent)
        return recent;
    return write([&](SqliteConnection& db) -> std::optional<SessionRow> {
        // MAX: a clock that stepped back does not age a session.
        auto row = db.prepare("UPDATE sessions SET last_used_at = MAX(last_used_at, ?3)"
                              " WHERE token_hash = ?1 AND last_used_at >= ?2"
                              " RETURNING account_id, last_used_at");
        row.bind(1, tokenHash).bind(2, idleCutoff).bind(3, now);
        if (!row.step())
            return std::nullopt;
        SessionRow session{row.int64At(0), row.int64At(1)};
        row.run();
        return session;
    });
}

void SqliteStorage::endSession(const QByteArray& tokenHash) {
    write([&](SqliteConnection& db) {
        db.prepare("DELETE FROM sessions WHERE token_hash = ?1").bind(1, tokenHash).run();
    });
}

void SqliteStorage::purgeSessions(qint64 idleCutoff) {
    write([&](SqliteConnection& db) {
        db.prepare("DELETE FROM sessions WHERE last_used_at < ?1").bind(1, idleCutoff).run();
    });
}

void SqliteStorage::addAccessCode(qint64 accountId, const QByteArray& codeHash, qint64 now) {
    write([&](SqliteConnection& db) {
        db.prepare("INSERT INTO access_codes (code_hash, account_id, created_at)"
                   " VALUES (?1, ?2, ?3)")
            .bind(1, codeHash)
            .bind(2, accountId)
            .bind(3, now)
            .run();
    });
}

std::optional<qint64> SqliteStorage::accountForAccessCode(const QByteArray& codeHash,
                                                          qint64 issuedSince) {
    return read([&](SqliteConnection& db) -> std::optional<qint64> {
        auto row = db.prepare("SELECT account_id FROM access_codes"
                              " WHERE code_hash = ?1 AND created_at >= ?2");
        row.bind(1, codeHash).bind(2, issuedSince);
        if (!row.step())
            return std::nullopt;
        return row.int64At(0);
    });
}

void SqliteStorage::removeAccessCodes(qint64 accountId, qint64 issuedBefore) {
    write([&](SqliteConnection& db) {
        db.prepare("DELETE FROM access_codes WHERE account_id = ?1 AND created_at < ?2")
            .bind(1, accountId)
            .bind(2, issuedBefore)
            .run();
    });
}

int SqliteStorage::usedOn(qint64 accountId, qint64 day, Allowance allowance) {
    return read([&](SqliteConnection& db) {
        auto row =
            db.prepare(allowance == Allowance::Feedback ? "SELECT feedback_count FROM reply_counts"
                                                          " WHERE account_id = ?1 AND day = ?2"
                                                        : "SELECT count FROM reply_counts"
                                                          " WHERE account_id = ?1 AND day = ?2");
        row.bind(1, accountId).bind(2, day);
        return row.step() ? int(row.int64At(0)) : 0;
    });
}

bool SqliteStorage::reserve(qint64 accountId, qint64 day, Allowance allowance, int limit) {
    if (limit <= 0)
        return false;
    return write([&](SqliteConnection& db) {
        db.prepare(allowance == Allowance::Feedback
                       ? "INSERT INTO reply_counts (account_id, day, count, feedback_count)"
                         " VALUES (?1, ?2, 0, 1)"
                         " ON CONFLICT (account_id, day) DO UPDATE"
                         " SET feedback_count = reply_counts.feedback_count + 1"
                         " WHERE reply_counts.feedback_count < ?3"
                       : "INSERT INTO reply_counts (account_id, day, count) VALUES (?1, ?2, 1)"
                         " ON CONFLICT (account_id, day) DO UPDATE"
                         " SET count = reply_counts.count + 1 WHERE reply_counts.count < ?3")
            .bind(1, accountId)
            .bind(2, day)
            .bind(3, qint64(limit))
            .run();
        return db.changes() == 1;
    });
}

void SqliteStorage::release(qint64 accountId, qint64 day, Allowance allowance) {
    write([&](SqliteConnection& db) {
        db.prepare(allowance == Allowance::Feedback
                       ? "UPDATE reply_counts SET feedback_count = feedback_count - 1"
                         " WHERE account_id = ?1 AND day = ?2 AND feedback_count > 0"
                       : "UPDATE reply_counts SET count = count - 1"
                         " WHERE account_id = ?1 AND day = ?2 AND count > 0")
            .bind(1, accountId)
            .bind(2, day)
            .run();
    });
}

std::optional<DocumentRow> SqliteStorage::document(qint64 accountId) {
    return read([&](SqliteConnection& db) -> std::optional<DocumentRow> {
        auto row = db.prepare("SELECT bytes, updated_at FROM documents WHERE account_id = ?1");
        row.bind(1, accountId);
        if (!row.step())
            return std::nullopt;
        return DocumentRow{row.bytesAt(0), row.int64At(1)};
    });
}

PutResult SqliteStorage::putDocument(qint64 accountId, const QByteArray& bytes,
                                     qint64 baseUpdatedAt, qint64 now) {
    return write([&](SqliteConnection& db) {
        // One statement either way, so the comparison and the write cannot be split by another
        // process sharing the file.
        auto stored = baseUpdatedAt == 0
                          ? db.prepare("INSERT INTO documents (account_id, bytes, updated_at)"
                                       " VALUES (?1, ?2, MAX(?3, 1))"
                                       " ON CONFLICT (account_id) DO NOTHING"
                                       " RETURNING updated_at")
                          : db.prepare("UPDATE documents"
                                       " SET bytes = ?2, updated_at = MAX(?3, updated_at + 1)"
                                       " WHERE account_id = ?1 AND updated_at = ?4"
                                       " RETURNING updated_at");
        stored.bind(1, accountId).bind(2, bytes).bind(3, now);
        if (baseUpdatedAt != 0)
            stored.bind(4, baseUpdatedAt);
        if (stored.step()) {
            const PutResult result{true, stored.int64At(0)};
            stored.run();
            return result;
        }
        auto current = db.prepare("SELECT updated_at FROM documents WHERE account_id = ?1");
        current.bind(1, accountId);
        return PutResult{false, current.step() ? current.int64At(0) : 0};
    });
}

} // namespace quillo::server
