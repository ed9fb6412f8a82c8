// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ConnectionPool.h"
#include "PostgresConnection.h"
#include "Storage.h"

namespace quillo::server {

// Storage in a PostgreSQL database, which several service processes may share. Each call
// borrows one connection from a small pool; a broken connection is dropped and replaced on
// demand.
class PostgresStorage final : public Storage {
public:
    // Connects once up front, so a wrong URL shows at start-up. Throws StorageError.
    explicit PostgresStorage(const QString& url, int maxConnections = 8);
    ~PostgresStorage() override;

    void migrate() override;
    bool ping() override;

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
    auto withConnection(F&& work);

    ConnectionPool<PostgresConnection> m_pool;
};

} // namespace quillo::server
