// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

struct pg_conn;
struct pg_result;

namespace quillo::server {

// Statement parameters, sent apart from the SQL text and typed explicitly, so no value is ever
// spliced into a query and bytes travel unchanged.
class PostgresParams {
public:
    PostgresParams& add(qint64 value);
    PostgresParams& add(const QString& text);
    PostgresParams& add(const QByteArray& bytes);

    qsizetype size() const { return m_values.size(); }

private:
    friend class PostgresConnection;
    QList<QByteArray> m_values;
    QList<unsigned int> m_types;
    QList<int> m_formats;
};

// The rows of one statement, in binary form.
class PostgresResult {
public:
    explicit PostgresResult(pg_result* result)
        : m_result(result) {}
    ~PostgresResult();
    PostgresResult(const PostgresResult&) = delete;
    PostgresResult& operator=(const PostgresResult&) = delete;
    PostgresResult(PostgresResult&& other) noexcept;
    PostgresResult& operator=(PostgresResult&&) = delete;

    int rows() const;
    // Rows an INSERT, UPDATE or DELETE changed.
    int changes() const;
    qint64 int64At(int row, int column) const;
    QString textAt(int row, int column) const;
    QByteArray bytesAt(int row, int column) const;

private:
    friend class PostgresConnection;
    pg_result* m_result = nullptr;
};

// One libpq connection. Not thread-safe: the pool hands it to one thread at a time.
class PostgresConnection {
public:
    // Connects to a "postgres://" / "postgresql://" URL. Throws StorageError.
    explicit PostgresConnection(const QString& url);
    ~PostgresConnection();
    PostgresConnection(const PostgresConnection&) = delete;
    PostgresConnection& operator=(const PostgresConnection&) = delete;

    // Runs one statement. Throws StorageError, which never carries the parameters.
    PostgresResult exec(const char* sql, const PostgresParams& params = {});
    // Runs a statement and reports failure as false, for clean-up paths.
    bool tryExec(const char* sql) noexcept;

    // Whether the connection can be handed to the next caller: still connected, and not left
    // inside a transaction by a failed call.
    bool reusable() const;

private:
    pg_conn* m_conn = nullptr;
};

} // namespace quillo::server
