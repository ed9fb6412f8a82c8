// SPDX-License-Identifier: Apache-2.0
#include "SqliteConnection.h"

#include "Storage.h"

#include <sqlite3.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>

namespace quillo::server {

namespace {

// Long enough to ride out another process's write; short enough that a stuck database shows up
// as a 503 rather than a hung request.
constexpr int busyTimeoutMillis = 5000;
constexpr int walAttempts = 50;

} // namespace

SqliteConnection::SqliteConnection(const QString& path, Role role) {
    // The owner guards each connection, so SQLite's own per-connection mutex is not needed.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX |
                      (role == Role::Writer ? SQLITE_OPEN_CREATE : 0);
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const std::string message = m_db ? sqlite3_errmsg(m_db) : sqlite3_errstr(rc);
        sqlite3_close(m_db);
        m_db = nullptr;
        throw StorageError("sqlite: cannot open " + path.toStdString() + ": " + message);
    }
    try {
        configure(role);
    } catch (...) {
        sqlite3_close_v2(m_db);
        throw;
    }
}

void SqliteConnection::configure(Role role) {
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, busyTimeoutMillis);
    exec("PRAGMA foreign_keys = ON");
    if (role == Role::Writer) {
        // WAL lets readers run while one writer commits; FULL makes every commit survive a
        // power loss, which an answered upload promises.
        // Switching a new file to WAL needs it to itself for a moment; a second process starting
        // at the same time gets the old mode back, without an error, and should ask again.
        QString journal;
        for (int attempt = 0; attempt < walAttempts; ++attempt) {
            if (attempt > 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            auto mode = prepare("PRAGMA journal_mode = WAL");
            if (!mode.step())
                fail("setting the journal mode");
            journal = mode.textAt(0);
            if (journal == u"wal" || journal == u"memory")
                break;
        }
        if (journal != u"wal" && journal != u"memory")
            throw StorageError("sqlite: the database refuses WAL mode (" + journal.toStdString() +
                               ")");
        exec("PRAGMA synchronous = FULL");
    } else {
        exec("PRAGMA query_only = ON");
    }
}

SqliteConnection::~SqliteConnection() {
    sqlite3_close_v2(m_db);
}

SqliteStatement SqliteConnection::prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr) != SQLITE_OK)
        fail("preparing a statement");
    return SqliteStatement(*this, statement);
}

void SqliteConnection::exec(const char* sql) {
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail("running a statement");
}

bool SqliteConnection::tryExec(const char* sql) noexcept {
    return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool SqliteConnection::reusable() const {
    // Outside a transaction: a failed call may have left one open, which would hold the lock.
    return sqlite3_get_autocommit(m_db) != 0;
}

int SqliteConnection::changes() const {
    return sqlite3_changes(m_db);
}

void SqliteConnection::fail(const char* what) const {
    throw StorageError(std::string("sqlite: ") + what + ": " + sqlite3_errmsg(m_db));
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(m_statement);
}

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept
    : m_connection(other.m_connection)
    , m_statement(std::exchange(other.m_statement, nullptr)) {}

SqliteStatement& SqliteStatement::bind(int index, qint64 value) {
    if (sqlite3_bind_int64(m_statement, index, value) != SQLITE_OK)
        m_connection.fail("binding a value");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, const QString& value) {
    const QByteArray utf8 = value.toUtf8();
    if (sqlite3_bind_text64(m_statement, index, utf8.constData(), sqlite3_uint64(utf8.size()),
                            SQLITE_TRANSIENT, SQLITE_UTF8) != SQLITE_OK)
        m_connection.fail("binding a value");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, const QByteArray& blob) {
    // A zero-length blob bound from a null pointer would be stored as NULL; the caller's bytes
    // outlive the statement's use, so SQLite need not copy them.
    const int rc = blob.isEmpty() ? sqlite3_bind_zeroblob(m_statement, index, 0)
                                  : sqlite3_bind_blob64(m_statement, index, blob.constData(),
                                                        sqlite3_uint64(blob.size()), SQLITE_STATIC);
    if (rc != SQLITE_OK)
        m_connection.fail("binding a value");
    return *this;
}

bool SqliteStatement::step() {
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    m_connection.fail("running a statement");
}

void SqliteStatement::run() {
    while (step()) {
    }
}

qint64 SqliteStatement::int64At(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

QString SqliteStatement::textAt(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, column));
}

QByteArray SqliteStatement::bytesAt(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    const int size = sqlite3_column_bytes(m_statement, column);
    return data ? QByteArray(data, size) : QByteArray();
}

} // namespace quillo::server
