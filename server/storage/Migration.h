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
const QList<Migration>& sqliteMigrations();
const QList<Migration>& postgresMigrations();

} // namespace quillo::server
