// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace quillo::server {

class SqliteStatement;

// One SQLite connection with the settings the service relies on. Not thread-safe: the owner
// hands it to one thread at a time.
class SqliteConnection {
public:
    enum class Role { Writer, Reader };

    // Opens (and for the writer creates) the database file. Throws StorageError.
    SqliteConnection(const QString& path, Role role);
    ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    SqliteStatement prepare(const char* sql);
    // Runs statements without parameters or results. Throws StorageError.
    void exec(const char* sql);
    // Runs a statement and reports failure as false, for clean-up paths.
    bool tryExec(const char* sql) noexcept;

    // Whether the connection can be handed to the next caller: not left inside a transaction
    // by a failed call.
    bool reusable() const;
    // Rows the last INSERT, UPDATE or DELETE changed.
    int changes() const;

    [[noreturn]] void fail(const char* what) const;

private:
    void configure(Role role);

    sqlite3* m_db = nullptr;
};

// A prepared statement; bind by 1-based index, then step through the rows.
class SqliteStatement {
public:
    SqliteStatement(SqliteConnection& connection, sqlite3_stmt* statement)
        : m_connection(connection)
        , m_statement(statement) {}
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    SqliteStatement(SqliteStatement&& other) noexcept;
    SqliteStatement& operator=(SqliteStatement&&) = delete;

    SqliteStatement& bind(int index, qint64 value);
    SqliteStatement& bind(int index, const QString& value);
    SqliteStatement& bind(int index, const QByteArray& blob);

    // Advances to the next row; false when there is none.
    bool step();
    // Runs a statement that returns no rows.
    void run();

    qint64 int64At(int column) const;
    QString textAt(int column) const;
    QByteArray bytesAt(int column) const;

private:
    SqliteConnection& m_connection;
    sqlite3_stmt* m_statement = nullptr;
};

} // namespace quillo::server
