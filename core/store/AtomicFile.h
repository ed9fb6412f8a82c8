// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

#include <optional>

namespace quillo {

// Why a file or directory operation failed, and on which path.
struct FileError {
    QString path;
    QString problem;

    // "/home/ana/.local/share/QuilloMac/state.json: No space left on device"
    QString message() const;

    friend bool operator==(const FileError&, const FileError&) = default;
};

// Replaces the file at `path` with `bytes` so that readers, a crash or a power cut only ever see
// the old content or the new one, never a mix: the bytes go to a temporary file beside it, which
// is synced and renamed over the old one, and then the directory is synced so that the rename
// itself is durable. `permissions` are set before any byte is written (the session file is
// private to the user); without them a new file gets the default mode and an existing one keeps
// its own. The parent directory must exist. Gives the failure, or nothing on success.
std::optional<FileError>
writeFileAtomically(const QString& path, const QByteArray& bytes,
                    std::optional<QFileDevice::Permissions> permissions = std::nullopt);

} // namespace quillo
