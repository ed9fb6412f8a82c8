// SPDX-License-Identifier: Apache-2.0
#include "config/ServerConfig.h"

#include <gtest/gtest.h>

#include <utility>

using namespace quillo::server;

namespace {

QProcessEnvironment environment(std::initializer_list<std::pair<const char*, const char*>> values) {
    QProcessEnvironment env(QProcessEnvironment::InheritFromParent);
    env.clear();
    for (const auto& [name, value] : values)
        env.insert(QString::fromUtf8(name), QString::fromUtf8(value));
    return env;
}

ServerConfig parsed(std::initializer_list<std::pair<const char*, const char*>> values) {
    auto config = ServerConfig::fromEnvironment(environment(values));
    EXPECT_TRUE(config) << config.error().toStdString();
    return config ? *config : ServerConfig{};
}

TEST(ServerConfig, DefaultsWhenUnsetOrEmpty) {
    qputenv("QUILLO_DAILY_LIMIT", "not read from the process");
    const ServerConfig config = parsed({{"HOME", "/home/ana"},
                                        {"QUILLO_SERVER_LISTEN", ""},
                                        {"QUILLO_MODEL_JSON_MODE", "  "},
                                        {"QUILLO_SERVER_THREADS", ""}});
    qunsetenv("QUILLO_DAILY_LIMIT");
    EXPECT_EQ(config.listenHost, u"127.0.0.1");
    EXPECT_EQ(config.listenPort, 8787);
    EXPECT_EQ(config.databaseUrl, u"sqlite:/home/ana/.local/state/quillo/quillo.db");
    EXPECT_TRUE(config.modelUrl.isEmpty());
    EXPECT_TRUE(config.modelName.isEmpty());
    EXPECT_EQ(config.modelCandidates, QStringList({QStringLiteral("http://127.0.0.1:11434/v1"),
                                                   QStringLiteral("http://127.0.0.1:8080/v1"),
                                                   QStringLiteral("http://127.0.0.1:1234/v1"),
                                                   QStringLiteral("http://127.0.0.1:8000/v1")}));
    EXPECT_TRUE(config.modelKey.isEmpty());
    EXPECT_TRUE(config.modelJsonMode);
    EXPECT_EQ(config.modelTimeoutSeconds, 50);
    EXPECT_TRUE(config.transcribeUrl.isEmpty());
    EXPECT_EQ(config.transcribeModel, u"whisper-1");
    EXPECT_TRUE(config.transcribeKey.isEmpty());
    EXPECT_EQ(config.transcribeTimeoutSeconds, 50);
    EXPECT_EQ(config.dailyLimit, 20);
    EXPECT_EQ(config.dailyFeedbackLimit, 50);
    EXPECT_TRUE(config.googleClientIds.isEmpty());
    EXPECT_EQ(config.googleJwksUrl, u"https://www.googleapis.com/oauth2/v3/certs");
    EXPECT_EQ(config.threads, 32);
    EXPECT_EQ(config.maxBodyBytes, 64 * 1024 * 1024);
    EXPECT_EQ(config.sessionIdleDays, 30);

    EXPECT_EQ(parsed({{"HOME", "/home/ana"}, {"XDG_STATE_HOME", "/var/state"}}).databaseUrl,
              u"sqlite:/var/state/quillo/quillo.db");
    EXPECT_EQ(parsed({{"HOME", "/home/ana"}, {"XDG_STATE_HOME", "relative"}}).databaseUrl,
              u"sqlite:/home/ana/.local/state/quillo/quillo.db");
}

TEST(ServerConfig, ReadsEveryVariable) {
    const ServerConfig config = parsed({
        {"QUILLO_SERVER_LISTEN", "0.0.0.0:9000"},
        {"QUILLO_DATABASE_URL", "postgresql://quillo@127.0.0.1:5432/quillo"},
        {"QUILLO_MODEL_URL", "https://models.example.test/api/v1//"},
        {"QUILLO_MODEL_NAME", "llama-3"},
        {"QUILLO_MODEL_KEY", "sk-test"},
        {"QUILLO_MODEL_JSON_MODE", "FALSE"},
        {"QUILLO_MODEL_TIMEOUT", "120"},
        {"QUILLO_TRANSCRIBE_URL", "http://127.0.0.1:8081/v1/"},
        {"QUILLO_TRANSCRIBE_MODEL", "large-v3"},
        {"QUILLO_TRANSCRIBE_KEY", "sk-speech"},
        {"QUILLO_TRANSCRIBE_TIMEOUT", "90"},
        {"QUILLO_DAILY_LIMIT", "0"},
        {"QUILLO_DAILY_FEEDBACK_LIMIT", " 7 "},
        {"QUILLO_GOOGLE_CLIENT_IDS", " a.apps.test , ,b.apps.test,a.apps.test"},
        {"QUILLO_GOOGLE_JWKS_URL", "http://127.0.0.1:9999/certs"},
        {"QUILLO_RELEASE_VERSION", "1.4.0"},
        {"QUILLO_RELEASE_URL", "https://quillo.example.test/download"},
        {"QUILLO_SERVER_THREADS", "4"},
        {"QUILLO_MAX_BODY_BYTES", "1024"},
        {"QUILLO_SESSION_IDLE_DAYS", "7"},
    });
    EXPECT_EQ(config.listenHost, u"0.0.0.0");
    EXPECT_EQ(config.listenPort, 9000);
    EXPECT_EQ(config.databaseUrl, u"postgresql://quillo@127.0.0.1:5432/quillo");
    EXPECT_EQ(config.modelUrl, u"https://models.example.test/api/v1");
    EXPECT_EQ(config.modelName, u"llama-3");
    EXPECT_EQ(config.modelKey, u"sk-test");
    EXPECT_FALSE(config.modelJsonMode);
    EXPECT_EQ(config.modelTimeoutSeconds, 120);
    EXPECT_EQ(config.transcribeUrl, u"http://127.0.0.1:8081/v1");
    EXPECT_EQ(config.transcribeModel, u"large-v3");
    EXPECT_EQ(config.transcribeKey, u"sk-speech");
    EXPECT_EQ(config.transcribeTimeoutSeconds, 90);
    EXPECT_EQ(config.dailyLimit, 0);
    EXPECT_EQ(config.dailyFeedbackLimit, 7);
    EXPECT_EQ(config.googleClientIds,
              (QStringList{QStringLiteral("a.apps.test"), QStringLiteral("b.apps.test")}));
    EXPECT_EQ(config.googleJwksUrl, u"http://127.0.0.1:9999/certs");
    EXPECT_EQ(config.releaseVersion, u"1.4.0");
    EXPECT_EQ(config.releaseUrl, u"https://quillo.example.test/download");
    EXPECT_EQ(config.threads, 4);
    EXPECT_EQ(config.maxBodyBytes, 1024);
    EXPECT_EQ(config.sessionIdleDays, 7);

    const ServerConfig ipv6 = parsed({{"QUILLO_SERVER_LISTEN", "[::1]:8080"},
                                      {"QUILLO_DATABASE_URL", "sqlite:/tmp/q.db"},
                                      {"QUILLO_MODEL_JSON_MODE", "0"}});
    EXPECT_EQ(ipv6.listenHost, u"::1");
    EXPECT_EQ(ipv6.listenPort, 8080);
    EXPECT_EQ(ipv6.databaseUrl, u"sqlite:/tmp/q.db");
    EXPECT_FALSE(ipv6.modelJsonMode);
}

TEST(ServerConfig, ABadValueNamesItsVariable) {
    const std::pair<const char*, const char*> bad[] = {
        {"QUILLO_SERVER_LISTEN", "8787"},
        {"QUILLO_SERVER_LISTEN", "localhost"},
        {"QUILLO_SERVER_LISTEN", ":8787"},
        {"QUILLO_SERVER_LISTEN", "::1:8787"},
        {"QUILLO_SERVER_LISTEN", "[::1]8787"},
        {"QUILLO_SERVER_LISTEN", "localhost:http"},
        {"QUILLO_SERVER_LISTEN", "localhost:0"},
        {"QUILLO_SERVER_LISTEN", "localhost:65536"},
        {"QUILLO_DATABASE_URL", "mysql://root:hunter2@db/quillo"},
        {"QUILLO_DATABASE_URL", "sqlite:"},
        {"QUILLO_MODEL_URL", "127.0.0.1:8080/v1"},
        {"QUILLO_MODEL_URL", "ftp://models.example.test"},
        {"QUILLO_MODEL_JSON_MODE", "yes"},
        {"QUILLO_MODEL_TIMEOUT", "0"},
        {"QUILLO_MODEL_TIMEOUT", "50s"},
        {"QUILLO_TRANSCRIBE_URL", "127.0.0.1:8081/v1"},
        {"QUILLO_TRANSCRIBE_URL", "file:///tmp/whisper"},
        {"QUILLO_TRANSCRIBE_TIMEOUT", "0"},
        {"QUILLO_TRANSCRIBE_TIMEOUT", "3601"},
        {"QUILLO_DAILY_LIMIT", "-1"},
        {"QUILLO_DAILY_LIMIT", "twenty"},
        {"QUILLO_DAILY_FEEDBACK_LIMIT", "-1"},
        {"QUILLO_DAILY_FEEDBACK_LIMIT", "fifty"},
        {"QUILLO_DAILY_FEEDBACK_LIMIT", "1000001"},
        {"QUILLO_GOOGLE_JWKS_URL", "certs.json"},
        {"QUILLO_RELEASE_URL", "https://"},
        {"QUILLO_RELEASE_URL", "download/quillo"},
        {"QUILLO_RELEASE_URL", "//elsewhere.example.test/quillo"},
        {"QUILLO_SERVER_THREADS", "0"},
        {"QUILLO_SERVER_THREADS", "1.5"},
        {"QUILLO_MAX_BODY_BYTES", "1023"},
        {"QUILLO_MAX_BODY_BYTES", "99999999999999999999"},
        {"QUILLO_SESSION_IDLE_DAYS", "0"},
        {"QUILLO_REQUEST_TIMEOUT", "0"},
        {"QUILLO_TLS_CERT", "/etc/quillo/cert.pem"},
        {"QUILLO_TLS_KEY", "/etc/quillo/key.pem"},
    };
    for (const auto& [name, value] : bad) {
        auto config = ServerConfig::fromEnvironment(environment({{name, value}}));
        ASSERT_FALSE(config) << name << '=' << value;
        EXPECT_TRUE(config.error().startsWith(QString::fromUtf8(name) + u':'))
            << config.error().toStdString();
        EXPECT_FALSE(config.error().contains(u'\n'));
        EXPECT_FALSE(config.error().contains(u"hunter2")) << "the database password leaked";
    }
    EXPECT_EQ(ServerConfig::fromEnvironment(environment({{"QUILLO_SERVER_THREADS", "0"}})).error(),
              u"QUILLO_SERVER_THREADS: \"0\" is not a whole number from 1 to 1024");
    EXPECT_EQ(ServerConfig::fromEnvironment(environment({{"QUILLO_DAILY_FEEDBACK_LIMIT", "lots"}}))
                  .error(),
              u"QUILLO_DAILY_FEEDBACK_LIMIT: \"lots\" is not a whole number from 0 to 1000000");
}

// The app resolves a release link against the service's address, so a path on the service's
// own origin will do; TLS needs its certificate and key together.
TEST(ServerConfig, ReleaseLinksMayBePathsAndTlsTakesBothFiles) {
    const auto config =
        ServerConfig::fromEnvironment(environment({{"QUILLO_RELEASE_URL", "/download/quillo"},
                                                   {"QUILLO_TLS_CERT", "/etc/quillo/cert.pem"},
                                                   {"QUILLO_TLS_KEY", "/etc/quillo/key.pem"},
                                                   {"QUILLO_REQUEST_TIMEOUT", "5"}}));
    ASSERT_TRUE(config) << config.error().toStdString();
    EXPECT_EQ(config->releaseUrl, u"/download/quillo");
    EXPECT_EQ(config->tlsCert, u"/etc/quillo/cert.pem");
    EXPECT_EQ(config->tlsKey, u"/etc/quillo/key.pem");
    EXPECT_EQ(config->requestTimeoutMillis, 5000);
}

// Who may sign in: code lifetime, the Google allow-list and the proxies whose word is taken.
TEST(ServerConfig, SignInGuardsAreReadAndChecked) {
    const auto config = ServerConfig::fromEnvironment(
        environment({{"QUILLO_CODE_DAYS", "7"},
                     {"QUILLO_GOOGLE_ALLOWED", " School.Example, @kids.example,ana@Example.com,,"},
                     {"QUILLO_TRUSTED_PROXIES", "127.0.0.1, ::1,10.0.0.2"}}));
    ASSERT_TRUE(config) << config.error().toStdString();
    EXPECT_EQ(config->codeDays, 7);
    EXPECT_EQ(config->googleAllowed,
              QStringList({QStringLiteral("school.example"), QStringLiteral("kids.example"),
                           QStringLiteral("ana@example.com")}));
    EXPECT_EQ(config->trustedProxies,
              QStringList({QStringLiteral("127.0.0.1"), QStringLiteral("::1"),
                           QStringLiteral("10.0.0.2")}));
    const auto defaults = ServerConfig::fromEnvironment(environment({}));
    EXPECT_EQ(defaults->codeDays, 30);
    EXPECT_TRUE(defaults->googleAllowed.isEmpty());

    const struct {
        const char* name;
        const char* value;
        const char16_t* error;
    } bad[] = {
        {"QUILLO_CODE_DAYS", "0", u"QUILLO_CODE_DAYS: \"0\" is not a whole number from 1 to 3650"},
        {"QUILLO_GOOGLE_ALLOWED", "example",
         u"QUILLO_GOOGLE_ALLOWED: \"example\" is not an e-mail domain or address"},
        {"QUILLO_GOOGLE_ALLOWED", "a@b@example.org",
         u"QUILLO_GOOGLE_ALLOWED: \"a@b@example.org\" is not an e-mail domain or address"},
        {"QUILLO_TRUSTED_PROXIES", "proxy.lan",
         u"QUILLO_TRUSTED_PROXIES: \"proxy.lan\" is not an IP address"},
    };
    for (const auto& c : bad) {
        const auto refused = ServerConfig::fromEnvironment(environment({{c.name, c.value}}));
        ASSERT_FALSE(refused) << c.name << "=" << c.value;
        EXPECT_EQ(refused.error(), QString::fromUtf16(c.error));
    }
}

TEST(ServerConfig, HelpListsEveryVariableInColumns) {
    const QString help = ServerConfig::variablesHelp();
    const char* names[] = {
        "QUILLO_SERVER_LISTEN",
        "QUILLO_DATABASE_URL",
        "QUILLO_MODEL_URL",
        "QUILLO_MODEL_NAME",
        "QUILLO_MODEL_KEY",
        "QUILLO_MODEL_JSON_MODE",
        "QUILLO_MODEL_TIMEOUT",
        "QUILLO_TRANSCRIBE_URL",
        "QUILLO_TRANSCRIBE_MODEL",
        "QUILLO_TRANSCRIBE_KEY",
        "QUILLO_TRANSCRIBE_TIMEOUT",
        "QUILLO_DAILY_LIMIT",
        "QUILLO_DAILY_FEEDBACK_LIMIT",
        "QUILLO_GOOGLE_CLIENT_IDS",
        "QUILLO_GOOGLE_JWKS_URL",
        "QUILLO_RELEASE_VERSION",
        "QUILLO_RELEASE_URL",
        "QUILLO_SERVER_THREADS",
        "QUILLO_MAX_BODY_BYTES",
        "QUILLO_SESSION_IDLE_DAYS",
        "QUILLO_REQUEST_TIMEOUT",
        "QUILLO_TLS_CERT",
        "QUILLO_TLS_KEY",
        "QUILLO_CODE_DAYS",
        "QUILLO_GOOGLE_ALLOWED",
        "QUILLO_TRUSTED_PROXIES",
    };
    QStringList rows = help.split(u'\n', Qt::SkipEmptyParts).filter(QStringLiteral("  QUILLO_"));
    ASSERT_EQ(rows.size(), std::size(names)) << help.toStdString();
    for (const char* name : names)
        EXPECT_EQ(rows.filter(QString::fromUtf8(name) + u' ').size(), 1) << name;
    // The defaults column starts at the same place on every row.
    const auto defaultColumn = [](const QString& row) {
        qsizetype i = row.indexOf(u' ', 2);
        while (row.at(i) == u' ')
            ++i;
        return i;
    };
    for (const QString& row : rows)
        EXPECT_EQ(defaultColumn(row), defaultColumn(rows.first())) << row.toStdString();
    EXPECT_TRUE(rows.first().contains(u"127.0.0.1:8787"));
}

} // namespace
