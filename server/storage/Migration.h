// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>

namespace quillo::server {

// One step of the schema. Versions only ever get appended: a database records the versions it
// has applied in `schema_migrations`, and each step runs once, in its own transaction.
struct Migration {
    int version = 0;
    QList<const char*> statements;
};

// The same schema in each engine's dialect; keep the two lists in step.
// (Version 2 holds the one row that readiness checks write, proving the database takes writes;
// version 3 counts feedback beside the replies.)
const QList<Migration>& sqliteMigrations();
const QList<Migration>& postgresMigrations();

// A readiness check's write, the same in both dialects.
inline constexpr const char* countCheck =
    "INSERT INTO service_checks (id, checks) VALUES (1, 1)"
    " ON CONFLICT (id) DO UPDATE SET checks = service_checks.checks + 1";

} // namespace quillo::server
