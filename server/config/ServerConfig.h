// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace quillo::server {

// Everything quillo-server is told, from environment variables only.
struct ServerConfig {
    QString listenHost = QStringLiteral("127.0.0.1"); // QUILLO_SERVER_LISTEN host:port
    int listenPort = 8787;
    QString databaseUrl;       // QUILLO_DATABASE_URL; default sqlite: under the XDG state directory
    QString modelUrl;          // QUILLO_MODEL_URL
    QString modelName;         // QUILLO_MODEL_NAME
    QString modelKey;          // QUILLO_MODEL_KEY
    bool modelJsonMode = true; // QUILLO_MODEL_JSON_MODE
    int modelTimeoutSeconds = 50;                          // QUILLO_MODEL_TIMEOUT
    QString transcribeUrl;                                 // QUILLO_TRANSCRIBE_URL
    QString transcribeModel = QStringLiteral("whisper-1"); // QUILLO_TRANSCRIBE_MODEL
    QString transcribeKey;                                 // QUILLO_TRANSCRIBE_KEY
    int transcribeTimeoutSeconds = 50;                     // QUILLO_TRANSCRIBE_TIMEOUT
    int dailyLimit = 20;                                   // QUILLO_DAILY_LIMIT
    int dailyFeedbackLimit = 50;                           // QUILLO_DAILY_FEEDBACK_LIMIT
    QStringList googleClientIds;                           // QUILLO_GOOGLE_CLIENT_IDS
    QString googleJwksUrl =                                // QUILLO_GOOGLE_JWKS_URL
        QStringLiteral("https://www.googleapis.com/oauth2/v3/certs");
    QString releaseVersion;                 // QUILLO_RELEASE_VERSION
    QString releaseUrl;                     // QUILLO_RELEASE_URL
    int threads = 32;                       // QUILLO_SERVER_THREADS
    qint64 maxBodyBytes = 64 * 1024 * 1024; // QUILLO_MAX_BODY_BYTES
    int sessionIdleDays = 30;               // QUILLO_SESSION_IDLE_DAYS
    int requestTimeoutMillis = 30'000;      // QUILLO_REQUEST_TIMEOUT, in seconds there
    QString tlsCert;                        // QUILLO_TLS_CERT: PEM certificate chain
    QString tlsKey;                         // QUILLO_TLS_KEY: PEM private key
    int codeDays = 30;                      // QUILLO_CODE_DAYS: how long an access code works
    // QUILLO_GOOGLE_ALLOWED: the only e-mail domains ("example.org") and addresses
    // ("ana@example.com") Google sign-in takes, lower case; empty takes every account.
    QStringList googleAllowed;
    // QUILLO_TRUSTED_PROXIES: addresses of reverse proxies whose X-Forwarded-For is believed.
    QStringList trustedProxies;
    // Where a model server is looked for when modelUrl is empty, in this order: Ollama,
    // llama.cpp's server, LM Studio, vLLM; and how long each has to list its models (one on this
    // machine does so at once). An empty modelName is the first model the endpoint lists.
    // Neither is read from the environment.
    QStringList modelCandidates = {
        QStringLiteral("http://127.0.0.1:11434/v1"), QStringLiteral("http://127.0.0.1:8080/v1"),
        QStringLiteral("http://127.0.0.1:1234/v1"), QStringLiteral("http://127.0.0.1:8000/v1")};
    int modelProbeSeconds = 1;

    // The configuration the environment gives, or one line naming the variable that is wrong
    // (the first one, in the order above). Values are trimmed; unset or blank means the default.
    static Result<ServerConfig, QString> fromEnvironment(const QProcessEnvironment& environment);

    // The table `quillo-server --help` prints: every variable with its default and meaning.
    static QString variablesHelp();
};

} // namespace quillo::server
