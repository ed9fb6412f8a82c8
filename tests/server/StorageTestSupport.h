// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "storage/PostgresConnection.h"
#include "storage/Storage.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <ostream>
#include <string>

namespace quillo::server::testing {

enum class Engine { Sqlite, Postgres };

inline std::string engineName(Engine engine) {
    return engine == Engine::Sqlite ? "Sqlite" : "Postgres";
}

inline void PrintTo(Engine engine, std::ostream* out) {
    *out << engineName(engine);
}

// Empty databases of one engine, each at its own URL and gone when this object is: SQLite
// files in a temporary directory, or schemas in the PostgreSQL that QUILLO_TEST_POSTGRES_URL
// names (scripts/with-postgres starts one).
class TestDatabases {
public:
    explicit TestDatabases(Engine engine)
        : m_engine(engine) {}
    ~TestDatabases() {
        for (const QString& schema : m_schemas)
            m_admin->tryExec(QByteArray("DROP SCHEMA " + schema.toUtf8() + " CASCADE").constData());
    }
    TestDatabases(const TestDatabases&) = delete;
    TestDatabases& operator=(const TestDatabases&) = delete;

    // Why this engine cannot run here, or empty when it can.
    QString unavailableReason() const {
        if (m_engine == Engine::Postgres && postgresUrl().isEmpty())
            return QStringLiteral("QUILLO_TEST_POSTGRES_URL is not set: run the tests under "
                                  "scripts/with-postgres to include PostgreSQL");
        return {};
    }

    QString freshUrl() {
        const QString name =
            QStringLiteral("quillo_test_%1").arg(QRandomGenerator::global()->generate64(), 0, 16);
        if (m_engine == Engine::Sqlite)
            return QStringLiteral("sqlite:") + m_dir.filePath(name + QStringLiteral("/data.db"));
        const QString base = postgresUrl();
        if (!m_admin)
            m_admin = std::make_unique<PostgresConnection>(base);
        m_admin->exec(QByteArray("CREATE SCHEMA " + name.toUtf8()).constData());
        m_schemas.append(name);
        // Every connection of the storage under test then works inside the new schema.
        return base + (base.contains(u'?') ? u'&' : u'?') +
               QStringLiteral("options=-csearch_path%3D") + name;
    }

private:
    static QString postgresUrl() { return QString::fromUtf8(qgetenv("QUILLO_TEST_POSTGRES_URL")); }

    Engine m_engine;
    QTemporaryDir m_dir;
    std::unique_ptr<PostgresConnection> m_admin;
    QStringList m_schemas;
};

inline QByteArray sha256(const char* text) {
    return QCryptographicHash::hash(QByteArray(text), QCryptographicHash::Sha256);
}

} // namespace quillo::server::testing
