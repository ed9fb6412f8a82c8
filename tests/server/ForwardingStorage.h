// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "storage/Storage.h"

namespace quillo::server {

// The real storage behind a decorator that tests override where they watch or break it.
class ForwardingStorage : public Storage {
public:
    explicit ForwardingStorage(Storage& inner)
        : m_inner(inner) {}

    void migrate() override { inner().migrate(); }
    bool ping() override { return inner().ping(); }
    AccountRow ensureAccount(const QString& email, const QString& name, qint64 now) override {
        return inner().ensureAccount(email, name, now);
    }
    std::optional<AccountRow> account(qint64 id) override { return inner().account(id); }
    void deleteAccount(qint64 id) override { inner().deleteAccount(id); }
    void createSession(qint64 id, const QByteArray& hash, qint64 now) override {
        inner().createSession(id, hash, now);
    }
    std::optional<SessionRow> useSession(const QByteArray& hash, qint64 cutoff,
                                         qint64 now) override {
        return inner().useSession(hash, cutoff, now);
    }
    void endSession(const QByteArray& hash) override { inner().endSession(hash); }
    void purgeSessions(qint64 cutoff) override { inner().purgeSessions(cutoff); }
    void addAccessCode(qint64 id, const QByteArray& hash, qint64 now) override {
        inner().addAccessCode(id, hash, now);
    }
    std::optional<qint64> accountForAccessCode(const QByteArray& hash, qint64 since) override {
        return inner().accountForAccessCode(hash, since);
    }
    void removeAccessCodes(qint64 id, qint64 before) override {
        inner().removeAccessCodes(id, before);
    }
    int usedOn(qint64 id, qint64 day, Allowance allowance) override {
        return inner().usedOn(id, day, allowance);
    }
    bool reserve(qint64 id, qint64 day, Allowance allowance, int limit) override {
        return inner().reserve(id, day, allowance, limit);
    }
    void release(qint64 id, qint64 day, Allowance allowance) override {
        inner().release(id, day, allowance);
    }
    std::optional<DocumentRow> document(qint64 id) override { return inner().document(id); }
    PutResult putDocument(qint64 id, const QByteArray& bytes, qint64 base, qint64 now) override {
        return inner().putDocument(id, bytes, base, now);
    }

protected:
    // Every call goes through here.
    virtual Storage& inner() { return m_inner; }

private:
    Storage& m_inner;
};

} // namespace quillo::server
