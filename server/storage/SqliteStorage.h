// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ConnectionPool.h"
#include "SqliteConnection.h"
#include "Storage.h"

#include <sys/types.h>

#include <atomic>
#include <optional>
#include <utility>

namespace quillo::server {

// Storage in one SQLite file. Writes go through one connection, one at a time (SQLite allows a
// single writer anyway, and queueing on a mutex beats polling its busy timeout); reads run on a
// small pool of read-only connections in parallel with it, which WAL mode allows.
class SqliteStorage final : public Storage {
public:
    // Creates the file and its directory when missing. ":memory:" keeps everything on the one
    // writer connection. Throws StorageError.
    explicit SqliteStorage(const QString& path, int maxReaders = 4);
    ~SqliteStorage() override;

    void migrate() override;
    bool ping() override;
    bool lost() const override { return m_lost; }

    AccountRow ensureAccount(const QString& email, const QString& name, qint64 now) override;
    std::optional<AccountRow> account(qint64 accountId) override;
    void deleteAccount(qint64 accountId) override;

    void createSession(qint64 accountId, const QByteArray& tokenHash, qint64 now) override;
    std::optional<SessionRow> useSession(const QByteArray& tokenHash, qint64 idleCutoff,
                                         qint64 now) override;

    void endSession(const QByteArray& tokenHash) override;
    void purgeSessions(qint64 idleCutoff) override;

    void addAccessCode(qint64 accountId, const QByteArray& codeHash, qint64 now) override;
    std::optional<qint64> accountForAccessCode(const QByteArray& codeHash,
                                               qint64 issuedSince) override;
    void removeAccessCodes(qint64 accountId, qint64 issuedBefore) override;

    int usedOn(qint64 accountId, qint64 day, Allowance allowance) override;
    bool reserve(qint64 accountId, qint64 day, Allowance allowance, int limit) override;
    void release(qint64 accountId, qint64 day, Allowance allowance) override;

    std::optional<DocumentRow> document(qint64 accountId) override;
    PutResult putDocument(qint64 accountId, const QByteArray& bytes, qint64 baseUpdatedAt,
                          qint64 now) override;

private:
    template <typename F>
    auto write(F&& work);
    template <typename F>
    auto read(F&& work);

    // The file as opened, and whether it is still the one at the path: pooled connections keep
    // the file they opened, so a replaced file would split them from a new writer.
    void checkFile();

    QString m_path;
    std::optional<std::pair<dev_t, ino_t>> m_file;
    std::atomic<bool> m_lost = false;
    ConnectionPool<SqliteConnection> m_writer;                 // one connection
    std::optional<ConnectionPool<SqliteConnection>> m_readers; // read-only ones
};

} // namespace quillo::server
