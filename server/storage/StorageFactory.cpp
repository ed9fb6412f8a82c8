// SPDX-License-Identifier: Apache-2.0
#include "PostgresStorage.h"
#include "SqliteStorage.h"
#include "Storage.h"

namespace quillo::server {

std::unique_ptr<Storage> openStorage(const QString& databaseUrl) {
    const QString url = databaseUrl.trimmed();
    const QString sqlitePrefix = QStringLiteral("sqlite:");
    if (url.startsWith(sqlitePrefix))
        return std::make_unique<SqliteStorage>(url.mid(sqlitePrefix.size()));
    if (url.startsWith(u"postgres://") || url.startsWith(u"postgresql://"))
        return std::make_unique<PostgresStorage>(url);
    // The URL itself is not echoed: it may hold a password.
    throw StorageError("unsupported database URL: expected \"sqlite:PATH\" or \"postgres://...\"");
}

} // namespace quillo::server
