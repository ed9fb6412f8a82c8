#include "SyncBase.h"

#include "store/AtomicFile.h"

#include <QCoroFuture>
#include <QFile>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QtConcurrent>

namespace quillo {

namespace {

Q_LOGGING_CATEGORY(lcSyncBase, "quillo.sync")

} // namespace

SyncBase::SyncBase(QString path)
    : m_path(std::move(path)) {}

std::optional<StoredState> SyncBase::load(const QString& fingerprint) {
    if (m_cached && m_cached->fingerprint == fingerprint)
        return m_cached->state;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    if (AccountProjection::fingerprintOf(bytes) != fingerprint)
        return std::nullopt;
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(bytes, &parseError);
    auto decoded = StoredState::fromJson(json.object());
    if (parseError.error != QJsonParseError::NoError || !decoded) {
        qCWarning(lcSyncBase) << "the synchronisation base could not be read; merging without it";
        return std::nullopt;
    }
    m_cached = AccountProjection{std::move(decoded).value(), bytes, fingerprint};
    return m_cached->state;
}

QCoro::Task<> SyncBase::store(AccountProjection projection) {
    m_cached = projection;
    const std::shared_ptr<quint64> cleared = m_cleared;
    const quint64 clearedBefore = *cleared;
    const QString path = m_path;
    const QByteArray bytes = projection.bytes;
    // Named, not a temporary inside the co_await: GCC 12 may destroy such a temporary twice.
    QFuture<std::optional<FileError>> writing = QtConcurrent::run([path, bytes] {
        return writeFileAtomically(path, bytes, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    });
    const std::optional<FileError> failure = co_await writing;
    if (failure)
        qCWarning(lcSyncBase) << "keeping the synchronisation base failed:" << failure->message();
    // Forgotten while the bytes were on their way: they must not stay behind.
    if (*cleared > clearedBefore)
        QFile::remove(path);
}

void SyncBase::clear() {
    ++*m_cleared;
    m_cached.reset();
    QFile::remove(m_path);
}

} // namespace quillo
