// SPDX-License-Identifier: Apache-2.0
#include "Migration.h"

namespace quillo::server {

// Times are milliseconds since 1970 and days are days since 1970 (UTC), both as 64-bit
// integers. Account ids are never reused, so nothing that outlives an account can point at a
// newcomer.

namespace {

// Feedback is counted beside the replies of the same account and day, in a column of its own
// (`count` stays the replies'). Rows that exist start at 0, and a server that does not know the
// column still inserts rows that are valid.
constexpr const char* feedbackCountColumn =
    "ALTER TABLE reply_counts"
    " ADD COLUMN feedback_count INTEGER NOT NULL DEFAULT 0 CHECK (feedback_count >= 0)";

} // namespace

const QList<Migration>& sqliteMigrations() {
    static const QList<Migration> migrations{
        {1,
         {
             "CREATE TABLE accounts ("
             " id INTEGER PRIMARY KEY AUTOINCREMENT,"
             " email TEXT NOT NULL UNIQUE,"
             " name TEXT NOT NULL DEFAULT '',"
             " created_at INTEGER NOT NULL)",
             "CREATE TABLE sessions ("
             " token_hash BLOB PRIMARY KEY,"
             " account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " created_at INTEGER NOT NULL,"
             " last_used_at INTEGER NOT NULL)",
             "CREATE INDEX sessions_account ON sessions(account_id)",
             "CREATE TABLE access_codes ("
             " code_hash BLOB PRIMARY KEY,"
             " account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " created_at INTEGER NOT NULL)",
             "CREATE INDEX access_codes_account ON access_codes(account_id)",
             "CREATE TABLE reply_counts ("
             " account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " day INTEGER NOT NULL,"
             " count INTEGER NOT NULL CHECK (count >= 0),"
             " PRIMARY KEY (account_id, day))",
             "CREATE TABLE documents ("
             " account_id INTEGER PRIMARY KEY REFERENCES accounts(id) ON DELETE CASCADE,"
             " bytes BLOB NOT NULL,"
             " updated_at INTEGER NOT NULL)",
         }},
        {2,
         {
             "CREATE TABLE service_checks ("
             " id INTEGER PRIMARY KEY CHECK (id = 1),"
             " checks INTEGER NOT NULL)",
         }},
        {3,
         {
             feedbackCountColumn,
         }},
    };
    return migrations;
}

const QList<Migration>& postgresMigrations() {
    static const QList<Migration> migrations{
        {1,
         {
             "CREATE TABLE accounts ("
             " id BIGINT GENERATED ALWAYS AS IDENTITY PRIMARY KEY,"
             " email TEXT NOT NULL UNIQUE,"
             " name TEXT NOT NULL DEFAULT '',"
             " created_at BIGINT NOT NULL)",
             "CREATE TABLE sessions ("
             " token_hash BYTEA PRIMARY KEY,"
             " account_id BIGINT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " created_at BIGINT NOT NULL,"
             " last_used_at BIGINT NOT NULL)",
             "CREATE INDEX sessions_account ON sessions(account_id)",
             "CREATE TABLE access_codes ("
             " code_hash BYTEA PRIMARY KEY,"
             " account_id BIGINT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " created_at BIGINT NOT NULL)",
             "CREATE INDEX access_codes_account ON access_codes(account_id)",
             "CREATE TABLE reply_counts ("
             " account_id BIGINT NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,"
             " day BIGINT NOT NULL,"
             " count INTEGER NOT NULL CHECK (count >= 0),"
             " PRIMARY KEY (account_id, day))",
             "CREATE TABLE documents ("
             " account_id BIGINT PRIMARY KEY REFERENCES accounts(id) ON DELETE CASCADE,"
             " bytes BYTEA NOT NULL,"
             " updated_at BIGINT NOT NULL)",
         }},
        {2,
         {
             "CREATE TABLE service_checks ("
             " id INTEGER PRIMARY KEY CHECK (id = 1),"
             " checks BIGINT NOT NULL)",
         }},
        {3,
         {
             feedbackCountColumn,
         }},
    };
    return migrations;
}

} // namespace quillo::server
