// SPDX-License-Identifier: Apache-2.0
#include "PostgresConnection.h"

#include "Storage.h"

#include <QtEndian>

#include <libpq-fe.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace quillo::server {

namespace {

// Type oids from pg_type; fixed since forever.
constexpr Oid int8Oid = 20;
constexpr Oid textOid = 25;
constexpr Oid byteaOid = 17;
constexpr int textFormat = 0;
constexpr int binaryFormat = 1;

// The server's primary message and SQLSTATE only: the detail line may quote a row's values.
std::string describe(const PGresult* result) {
    const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    std::string message = "postgres: ";
    message += primary ? primary : PQresStatus(PQresultStatus(result));
    if (state)
        message += std::string(" (") + state + ")";
    return message;
}

template <typename T>
T bigEndianAt(const char* data) {
    T value;
    std::memcpy(&value, data, sizeof value);
    return qFromBigEndian(value);
}

} // namespace

PostgresParams& PostgresParams::add(qint64 value) {
    m_values.append(QByteArray::number(value));
    m_types.append(int8Oid);
    m_formats.append(textFormat);
    return *this;
}

PostgresParams& PostgresParams::add(const QString& text) {
    // PostgreSQL text cannot hold U+0000; dropping it beats truncating at it.
    m_values.append(QString(text).remove(QChar(0)).toUtf8());
    m_types.append(textOid);
    m_formats.append(textFormat);
    return *this;
}

PostgresParams& PostgresParams::add(const QByteArray& bytes) {
    m_values.append(bytes);
    m_types.append(byteaOid);
    m_formats.append(binaryFormat);
    return *this;
}

PostgresResult::~PostgresResult() {
    PQclear(m_result);
}

PostgresResult::PostgresResult(PostgresResult&& other) noexcept
    : m_result(std::exchange(other.m_result, nullptr)) {}

int PostgresResult::rows() const {
    return PQntuples(m_result);
}

int PostgresResult::changes() const {
    return std::atoi(PQcmdTuples(m_result));
}

qint64 PostgresResult::int64At(int row, int column) const {
    const char* data = PQgetvalue(m_result, row, column);
    switch (PQgetlength(m_result, row, column)) {
    case 8:
        return bigEndianAt<qint64>(data);
    case 4:
        return bigEndianAt<qint32>(data);
    case 2:
        return bigEndianAt<qint16>(data);
    default:
        throw StorageError("postgres: a column is not an integer");
    }
}

QString PostgresResult::textAt(int row, int column) const {
    return QString::fromUtf8(PQgetvalue(m_result, row, column), PQgetlength(m_result, row, column));
}

QByteArray PostgresResult::bytesAt(int row, int column) const {
    return QByteArray(PQgetvalue(m_result, row, column), PQgetlength(m_result, row, column));
}

PostgresConnection::PostgresConnection(const QString& url) {
    const QByteArray dbname = url.toUtf8();
    // Keywords before the URL are defaults it may override; client_encoding after it is not
    // negotiable, since text goes out and comes back as UTF-8.
    const char* keywords[] = {"connect_timeout", "application_name", "dbname", "client_encoding",
                              nullptr};
    const char* values[] = {"10", "quillo-server", dbname.constData(), "UTF8", nullptr};
    m_conn = PQconnectdbParams(keywords, values, 1);
    if (!m_conn)
        throw StorageError("postgres: out of memory while connecting");
    if (PQstatus(m_conn) != CONNECTION_OK) {
        std::string message = "postgres: cannot connect: ";
        message += PQerrorMessage(m_conn);
        while (!message.empty() && (message.back() == '\n' || message.back() == ' '))
            message.pop_back();
        PQfinish(m_conn);
        throw StorageError(message);
    }
    // Notices ("already exists, skipping" and the like) are chatter, not failures; libpq would
    // print them to stderr.
    PQsetNoticeProcessor(
        m_conn, [](void*, const char*) {}, nullptr);
}

PostgresConnection::~PostgresConnection() {
    PQfinish(m_conn);
}

PostgresResult PostgresConnection::exec(const char* sql, const PostgresParams& params) {
    QList<const char*> values;
    QList<int> lengths;
    for (const QByteArray& value : params.m_values) {
        // Never null, even for empty bytes: a null pointer would mean SQL NULL.
        values.append(value.constData());
        lengths.append(int(value.size()));
    }
    PostgresResult result(PQexecParams(m_conn, sql, int(values.size()), params.m_types.constData(),
                                       values.constData(), lengths.constData(),
                                       params.m_formats.constData(), binaryFormat));
    const PGresult* raw = result.m_result;
    if (!raw)
        throw StorageError(std::string("postgres: ") + PQerrorMessage(m_conn));
    const ExecStatusType status = PQresultStatus(raw);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw StorageError(describe(raw));
    return result;
}

bool PostgresConnection::tryExec(const char* sql) noexcept {
    PGresult* result = PQexec(m_conn, sql);
    const ExecStatusType status = PQresultStatus(result);
    const bool ok = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
    PQclear(result);
    return ok;
}

bool PostgresConnection::reusable() const {
    return PQstatus(m_conn) == CONNECTION_OK && PQtransactionStatus(m_conn) == PQTRANS_IDLE;
}

} // namespace quillo::server
