// SPDX-License-Identifier: Apache-2.0
#include "SyncBase.h"

#include "common/LogCategories.h"
#include "store/AtomicFile.h"

#include <QCoroFuture>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QtConcurrent>

namespace quillo {

namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

SyncBase::SyncBase(QString path) {
    const QFileInfo info(path);
    m_paths = {
        path, info.dir().filePath(info.completeBaseName() + QStringLiteral(".1.") + info.suffix())};
}

QString SyncBase::slotPath(int slot) const {
    return m_paths.at(size_t(slot));
}

const std::optional<QString>& SyncBase::slotFingerprint(int slot) {
    auto& known = m_slotFingerprints.at(size_t(slot));
    if (!known) {
        const QByteArray bytes = readAll(slotPath(slot));
        known =
            bytes.isEmpty() ? std::nullopt : std::optional(AccountProjection::fingerprintOf(bytes));
    }
    return *known;
}

std::optional<StoredState> SyncBase::load(const QString& fingerprint) {
    if (m_cached && m_cached->fingerprint == fingerprint)
        return m_cached->state;
    for (int slot = 0; slot < 2; ++slot) {
        auto& known = m_slotFingerprints.at(size_t(slot));
        if (known && *known != fingerprint)
            continue;
        const QByteArray bytes = readAll(slotPath(slot));
        known =
            bytes.isEmpty() ? std::nullopt : std::optional(AccountProjection::fingerprintOf(bytes));
        if (*known != fingerprint)
            continue;
        QJsonParseError parseError;
        const QJsonDocument json = QJsonDocument::fromJson(bytes, &parseError);
        auto decoded = StoredState::fromJson(json.object());
        if (parseError.error != QJsonParseError::NoError || !decoded) {
            qCWarning(lcSync) << "the synchronisation base could not be read; merging without it";
            return std::nullopt;
        }
        m_cached = AccountProjection{std::move(decoded).value(), bytes, fingerprint};
        return m_cached->state;
    }
    return std::nullopt;
}

QCoro::Task<bool> SyncBase::store(AccountProjection projection, std::optional<QString> recorded) {
    // Never over the recorded base: until the new one is recorded, that one is the truth.
    const int slot = recorded && slotFingerprint(0) == recorded ? 1 : 0;
    m_cached = projection;
    m_slotFingerprints.at(size_t(slot)).reset(); // unknown until the write is done
    const std::shared_ptr<quint64> cleared = m_cleared;
    const quint64 clearedBefore = *cleared;
    const QString path = slotPath(slot);
    const QByteArray bytes = projection.bytes;
    // Named, not a temporary inside the co_await: GCC 12 may destroy such a temporary twice.
    QFuture<std::optional<FileError>> writing = QtConcurrent::run([path, bytes] {
        return writeFileAtomically(path, bytes, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    });
    const std::optional<FileError> failure = co_await writing;
    // Forgotten while the bytes were on their way: they must not stay behind.
    if (*cleared > clearedBefore) {
        QFile::remove(path);
        co_return false;
    }
    if (failure) {
        qCWarning(lcSync) << "keeping the synchronisation base failed:" << failure->message();
        co_return false;
    }
    co_return true;
}

void SyncBase::clear() {
    ++*m_cleared;
    m_cached.reset();
    for (int slot = 0; slot < 2; ++slot) {
        QFile::remove(slotPath(slot));
        m_slotFingerprints.at(size_t(slot)) = std::optional<QString>();
    }
}

} // namespace quillo
