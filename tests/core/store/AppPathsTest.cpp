// SPDX-License-Identifier: Apache-2.0
#include "store/AppPaths.h"
#include "store/AppIdentity.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace quillo;

namespace {

// Sets an environment variable for one test and puts the old value back afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const QByteArray& value)
        : m_name(name)
        , m_had(qEnvironmentVariableIsSet(name))
        , m_old(qgetenv(name)) {
        qputenv(name, value);
    }
    ~ScopedEnv() {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }

private:
    const char* m_name;
    bool m_had;
    QByteArray m_old;
};

void makeDir(const QString& path, const QString& marker = {}) {
    ASSERT_TRUE(QDir().mkpath(path));
    if (!marker.isEmpty()) {
        QFile file(path + u'/' + marker);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
}

class AppPathsTest : public ::testing::Test {
protected:
    QString root() const { return m_root.path(); }
    QString under(const QString& name) const { return root() + u'/' + name; }

    QTemporaryDir m_root;
};

} // namespace

TEST_F(AppPathsTest, SupportDirectoryComesFromTheEnvironmentUnlessItIsEmpty) {
    const QString dataRoot = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    {
        ScopedEnv env("QUILLO_SUPPORT_DIR", QByteArray());
        EXPECT_EQ(AppPaths::current().applicationSupportDir(),
                  dataRoot + QStringLiteral("/QuilloMac"));
    }
    {
        ScopedEnv env("QUILLO_SUPPORT_DIR", QFile::encodeName(under(QStringLiteral("custom/"))));
        const AppPaths paths = AppPaths::current();
        EXPECT_EQ(paths.applicationSupportDir(), under(QStringLiteral("custom")));
        EXPECT_EQ(paths.statePath(), under(QStringLiteral("custom/state.json")));
        EXPECT_EQ(paths.sessionPath(), under(QStringLiteral("custom/session.json")));
        EXPECT_EQ(paths.logsDir(), under(QStringLiteral("custom/logs")));
    }
}

TEST_F(AppPathsTest, EnsuringDirectoriesCreatesTheSupportAndLogsDirectories) {
    const AppPaths paths({}, under(QStringLiteral("share")));
    EXPECT_EQ(paths.ensureSupportDirectories(), std::nullopt);
    EXPECT_TRUE(QFileInfo(under(QStringLiteral("share/QuilloMac"))).isDir());
    EXPECT_TRUE(QFileInfo(under(QStringLiteral("share/QuilloMac/logs"))).isDir());
    // Running it again at the next start is harmless.
    EXPECT_EQ(paths.ensureSupportDirectories(), std::nullopt);

    // A plain file where the support directory should be is reported, not thrown over.
    QFile blocker(under(QStringLiteral("QuilloMac")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const auto error = AppPaths({}, root()).ensureSupportDirectories();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->path, under(QStringLiteral("QuilloMac")));
}

TEST_F(AppPathsTest, MigratesTheOnlyLegacyDirectory) {
    makeDir(under(QStringLiteral("TolkoraMac")), QStringLiteral("state.json"));
    EXPECT_EQ(AppPaths({}, root()).ensureSupportDirectories(), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(under(QStringLiteral("TolkoraMac"))));
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("QuilloMac/state.json"))));
    EXPECT_TRUE(QFileInfo(under(QStringLiteral("QuilloMac/logs"))).isDir());
}

TEST_F(AppPathsTest, PrefersTheNewerLegacyNameAndLeavesTheOlderOne) {
    makeDir(under(QStringLiteral("ZindraMac")), QStringLiteral("zindra"));
    makeDir(under(QStringLiteral("TolkoraMac")), QStringLiteral("tolkora"));
    EXPECT_EQ(AppPaths({}, root()).migrateLegacySupportDirectoryIfNeeded(), std::nullopt);
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("QuilloMac/zindra"))));
    EXPECT_FALSE(QFileInfo::exists(under(QStringLiteral("ZindraMac"))));
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("TolkoraMac/tolkora"))));
}

TEST_F(AppPathsTest, AnExistingSupportDirectoryIsNeverReplaced) {
    makeDir(under(QStringLiteral("QuilloMac")), QStringLiteral("current"));
    makeDir(under(QStringLiteral("ZindraMac")), QStringLiteral("zindra"));
    EXPECT_EQ(AppPaths({}, root()).ensureSupportDirectories(), std::nullopt);
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("QuilloMac/current"))));
    EXPECT_FALSE(QFileInfo::exists(under(QStringLiteral("QuilloMac/zindra"))));
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("ZindraMac/zindra"))));

    // The same holds for an overridden support directory.
    makeDir(under(QStringLiteral("elsewhere")));
    EXPECT_EQ(AppPaths(under(QStringLiteral("elsewhere")), root()).ensureSupportDirectories(),
              std::nullopt);
    EXPECT_TRUE(QFileInfo::exists(under(QStringLiteral("ZindraMac/zindra"))));
}

TEST(AppIdentityTest, ApiUrlOverrideIsUsedOnlyWhenItIsAUsableUrl) {
    const QUrl fallback(QStringLiteral("http://127.0.0.1:8787"));
    EXPECT_EQ(AppIdentity::defaultApiBaseURL(), fallback);
    EXPECT_EQ(AppIdentity::apiBaseURL(QStringLiteral(" https://api.example.test:9000/quillo ")),
              QUrl(QStringLiteral("https://api.example.test:9000/quillo")));
    EXPECT_EQ(AppIdentity::apiBaseURL(QStringLiteral("http://localhost:8080")),
              QUrl(QStringLiteral("http://localhost:8080")));
    for (const char* unusable : {"", "   ", "not a url", "example.test", "https://", "ftp://x.test",
                                 "http://exa mple.test", "http://[::1"}) {
        EXPECT_EQ(AppIdentity::apiBaseURL(QString::fromUtf8(unusable)), fallback) << unusable;
    }
    {
        ScopedEnv env("QUILLO_API_URL", "https://quillo.example.test");
        EXPECT_EQ(AppIdentity::apiBaseURL(), QUrl(QStringLiteral("https://quillo.example.test")));
    }
    {
        ScopedEnv env("QUILLO_API_URL", "::::");
        EXPECT_EQ(AppIdentity::apiBaseURL(), fallback);
    }
}
