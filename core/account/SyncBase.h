#pragma once

#include "account/AccountProjection.h"

#include <QCoroTask>

#include <memory>
#include <optional>

namespace quillo {

// The account's document as this device and the service last agreed on it, kept in a file of
// its own beside the session file. A download merges against it, which is how a contact removed
// on one device stays removed on the others. The file holds the canonical bytes, so it can only
// be trusted while its fingerprint is the one the session records; anything else (a crash
// between the two writes, a damaged file) reads as no base, and the merge keeps everything.
class SyncBase {
public:
    // `path` is normally "sync-base.json" beside the session file.
    explicit SyncBase(QString path);

    const QString& path() const { return m_path; }

    // The base whose fingerprint is `fingerprint`, read from disk once and then kept.
    std::optional<StoredState> load(const QString& fingerprint);

    // Keeps `projection` as the new base and writes it (privately, atomically) on a pool
    // thread. A failed write is logged; the next load then finds no base.
    QCoro::Task<> store(AccountProjection projection);

    // Forgets the base and removes its file: it holds the user's chats.
    void clear();

private:
    QString m_path;
    std::optional<AccountProjection> m_cached;
    // Counts clear() calls; shared with writes in flight, which may outlive this object.
    std::shared_ptr<quint64> m_cleared = std::make_shared<quint64>(0);
};

} // namespace quillo
