// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/AccountProjection.h"

#include <QCoroTask>

#include <array>
#include <memory>
#include <optional>

namespace quillo {

// The account's document as this device and the service last agreed on it, kept beside the
// session file. A download merges against it, which is how a contact removed on one device
// stays removed on the others. A base can only be trusted while its fingerprint is the one the
// session records, so there are two files: a new base goes into the one that does not hold the
// recorded base, and only then is the new fingerprint recorded. Whenever the process dies, the
// recorded fingerprint has a file that matches it. Anything else (a damaged file) reads as no
// base, and the merge keeps everything.
class SyncBase {
public:
    // `path` is normally "sync-base.json" beside the session file; the second file is the same
    // name with ".1" before the extension.
    explicit SyncBase(QString path);

    // The base whose fingerprint is `fingerprint`, read from disk once and then kept.
    std::optional<StoredState> load(const QString& fingerprint);

    // Writes `projection` (privately, atomically, on a pool thread) into the file that does not
    // hold the base of fingerprint `recorded`, and keeps it. True once it is on disk; a failed
    // write is logged, and a later load of it finds no base.
    QCoro::Task<bool> store(AccountProjection projection, std::optional<QString> recorded);

    // Forgets the base and removes its files: they hold the user's chats.
    void clear();

private:
    QString slotPath(int slot) const;
    // The fingerprint of the base in that file, read once; absent for no file or a bad one.
    const std::optional<QString>& slotFingerprint(int slot);

    std::array<QString, 2> m_paths;
    std::array<std::optional<std::optional<QString>>, 2> m_slotFingerprints;
    std::optional<AccountProjection> m_cached;
    // Counts clear() calls; shared with writes in flight, which may outlive this object.
    std::shared_ptr<quint64> m_cleared = std::make_shared<quint64>(0);
};

} // namespace quillo
