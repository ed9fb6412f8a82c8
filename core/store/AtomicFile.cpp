// SPDX-License-Identifier: Apache-2.0
#include "AtomicFile.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace quillo {

namespace {

// Without this a rename that has reached the disk's cache but not its directory entry can be
// lost on power failure, leaving the old document (or none) after the new one was reported saved.
std::optional<FileError> syncDirectory(const QString& directory) {
    const QByteArray native = QFile::encodeName(directory);
    const int fd = ::open(native.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return FileError{directory, QString::fromLocal8Bit(std::strerror(errno))};
    int result;
    do {
        result = ::fsync(fd);
    } while (result != 0 && errno == EINTR);
    const int syncErrno = errno;
    ::close(fd);
    if (result != 0)
        return FileError{directory, QString::fromLocal8Bit(std::strerror(syncErrno))};
    return std::nullopt;
}

} // namespace

QString FileError::message() const {
    return path.isEmpty() ? problem : path + QStringLiteral(": ") + problem;
}

std::optional<FileError> writeFileAtomically(const QString& path, const QByteArray& bytes,
                                             std::optional<QFileDevice::Permissions> permissions) {
    QSaveFile file(path);
    // Writing in place when no temporary file can be made would give up exactly what we are here
    // for; better to fail and keep the old file.
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly))
        return FileError{path, file.errorString()};
    if (permissions && !file.setPermissions(*permissions)) {
        file.cancelWriting();
        return FileError{path, file.errorString()};
    }
    if (file.write(bytes) != bytes.size()) {
        const QString problem = file.errorString();
        file.cancelWriting();
        return FileError{path, problem};
    }
    // commit() syncs the temporary file to disk before it renames it over the old one.
    if (!file.commit())
        return FileError{path, file.errorString()};
    return syncDirectory(QFileInfo(path).absolutePath());
}

} // namespace quillo
