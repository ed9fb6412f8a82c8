// SPDX-License-Identifier: Apache-2.0
#include "ServerConfig.h"

#include <boost/asio/ip/address.hpp>

#include <QDir>
#include <QUrl>

#include <limits>
#include <optional>

namespace quillo::server {

namespace {

struct Variable {
    const char16_t* name;
    const char16_t* defaultText;
    const char16_t* meaning;
};

// The one list of variables: the help is printed from it, and the tests hold parsing to it.
constexpr Variable variables[] = {
    {u"QUILLO_SERVER_LISTEN", u"127.0.0.1:8787", u"address and port to listen on (host:port)"},
    {u"QUILLO_DATABASE_URL", u"sqlite:$XDG_STATE_HOME/quillo/quillo.db",
     u"sqlite:PATH or postgresql://...; XDG_STATE_HOME defaults to ~/.local/state"},
    {u"QUILLO_MODEL_URL", u"(found on loopback)",
     u"base URL of the OpenAI-compatible model endpoint; unset: the first on 127.0.0.1, port "
     u"11434, 8080, 1234 or 8000 (under /v1), that lists a model"},
    {u"QUILLO_MODEL_NAME", u"(first listed)",
     u"model name sent with each request; unset: the first model the endpoint lists"},
    {u"QUILLO_MODEL_KEY", u"(none)",
     u"API key for the model endpoint; sent only to QUILLO_MODEL_URL"},
    {u"QUILLO_MODEL_JSON_MODE", u"1", u"ask the model for a JSON object (1/0/true/false)"},
    {u"QUILLO_MODEL_TIMEOUT", u"50", u"seconds to wait for one model reply"},
    {u"QUILLO_TRANSCRIBE_URL", u"(none)",
     u"base URL of the OpenAI-compatible transcription endpoint; none: no dictation"},
    {u"QUILLO_TRANSCRIBE_MODEL", u"whisper-1", u"transcription model sent with each recording"},
    {u"QUILLO_TRANSCRIBE_KEY", u"(none)", u"API key for the transcription endpoint"},
    {u"QUILLO_TRANSCRIBE_TIMEOUT", u"50", u"seconds to wait for one transcription"},
    {u"QUILLO_DAILY_LIMIT", u"20", u"model replies per account per day"},
    {u"QUILLO_DAILY_FEEDBACK_LIMIT", u"50",
     u"feedback on the user's messages per account per day, apart from replies"},
    {u"QUILLO_GOOGLE_CLIENT_IDS", u"(none)",
     u"Google OAuth client ids, comma-separated; none: no Google sign-in"},
    {u"QUILLO_GOOGLE_JWKS_URL", u"https://www.googleapis.com/oauth2/v3/certs",
     u"where Google's signing keys are fetched"},
    {u"QUILLO_RELEASE_VERSION", u"(none)", u"newest app version, for the update check"},
    {u"QUILLO_RELEASE_URL", u"(none)",
     u"where that version can be downloaded: a URL, or a path on this service"},
    {u"QUILLO_SERVER_THREADS", u"32", u"threads that serve every connection"},
    {u"QUILLO_MAX_BODY_BYTES", u"67108864", u"largest request body accepted, in bytes"},
    {u"QUILLO_SESSION_IDLE_DAYS", u"30", u"days a session lasts without use"},
    {u"QUILLO_REQUEST_TIMEOUT", u"30",
     u"seconds a client may take to send one request, or to read its answer"},
    {u"QUILLO_TLS_CERT", u"(none)",
     u"PEM certificate chain file; with a key the service answers HTTPS only"},
    {u"QUILLO_TLS_KEY", u"(none)", u"PEM private key file of that certificate"},
    {u"QUILLO_CODE_DAYS", u"30", u"days an access code from `invite` can be used"},
    {u"QUILLO_GOOGLE_ALLOWED", u"(anyone)",
     u"e-mail domains and addresses Google sign-in takes, comma-separated"},
    {u"QUILLO_TRUSTED_PROXIES", u"(none)",
     u"reverse proxies' addresses, comma-separated: their X-Forwarded-For names the client"},
};

QString name(const char16_t* variable) {
    return QString::fromUtf16(variable);
}

QString problem(const char16_t* variable, const QString& text) {
    return name(variable) + QStringLiteral(": ") + text;
}

QString quoted(const QString& value) {
    return u'"' + value + u'"';
}

// The entries of a comma-separated list: trimmed, blanks and repeats left out.
QStringList commaList(const QString& text) {
    QStringList entries;
    for (const QString& part : text.split(u',')) {
        const QString entry = part.trimmed();
        if (!entry.isEmpty() && !entries.contains(entry))
            entries.append(entry);
    }
    return entries;
}

// Parses the variables one by one; the first bad value stops the run with its error line.
class Reader {
public:
    explicit Reader(const QProcessEnvironment& environment)
        : m_environment(environment) {}

    std::optional<QString> error;

    // The trimmed value; empty when unset or blank, which means the default.
    QString text(const char16_t* variable) const {
        return m_environment.value(name(variable)).trimmed();
    }

    template <typename Number>
    void number(const char16_t* variable, Number& target, qint64 minimum, qint64 maximum) {
        const QString value = text(variable);
        if (value.isEmpty() || error)
            return;
        bool ok = false;
        const qint64 parsed = value.toLongLong(&ok);
        if (!ok || parsed < minimum || parsed > maximum) {
            const QString range = maximum == std::numeric_limits<qint64>::max()
                                      ? QStringLiteral(" of at least ") + QString::number(minimum)
                                      : QStringLiteral(" from ") + QString::number(minimum) +
                                            QStringLiteral(" to ") + QString::number(maximum);
            error =
                problem(variable, quoted(value) + QStringLiteral(" is not a whole number") + range);
            return;
        }
        target = Number(parsed);
    }

    void flag(const char16_t* variable, bool& target) {
        const QString value = text(variable).toLower();
        if (value.isEmpty() || error)
            return;
        if (value == u"1" || value == u"true")
            target = true;
        else if (value == u"0" || value == u"false")
            target = false;
        else
            error = problem(variable,
                            quoted(text(variable)) + QStringLiteral(" is not 1, 0, true or false"));
    }

    // URLs may carry credentials, so the error does not repeat the value.
    void webUrl(const char16_t* variable, QString& target) {
        const QString value = text(variable);
        if (value.isEmpty() || error)
            return;
        const QUrl url(value, QUrl::StrictMode);
        const QString scheme = url.scheme().toLower();
        if (!url.isValid() || (scheme != u"http" && scheme != u"https") || url.host().isEmpty()) {
            error = problem(variable, QStringLiteral("not an http or https URL"));
            return;
        }
        target = value;
    }

    // An absolute http(s) URL, or a path on the service's own origin ("/download/quillo"),
    // which the app resolves against the service's address.
    void webUrlOrPath(const char16_t* variable, QString& target) {
        const QString value = text(variable);
        if (value.isEmpty() || error)
            return;
        if (!value.startsWith(u'/') || value.startsWith(QStringLiteral("//")))
            return webUrl(variable, target);
        const QUrl url(value, QUrl::StrictMode);
        if (!url.isValid() || !url.isRelative() || !url.host().isEmpty()) {
            error = problem(variable, QStringLiteral("not an http or https URL, or a path from /"));
            return;
        }
        target = value;
    }

    void listen(const char16_t* variable, QString& host, int& port) {
        const QString value = text(variable);
        if (value.isEmpty() || error)
            return;
        QString hostPart;
        QString portPart;
        if (value.startsWith(u'[')) { // [::1]:8787
            const qsizetype close = value.indexOf(u"]:");
            if (close > 1) {
                hostPart = value.mid(1, close - 1);
                portPart = value.mid(close + 2);
            }
        } else {
            const qsizetype colon = value.lastIndexOf(u':');
            hostPart = value.left(qMax<qsizetype>(colon, 0));
            portPart = colon < 0 ? QString() : value.mid(colon + 1);
            if (hostPart.contains(u':'))
                hostPart.clear(); // a bare IPv6 address needs brackets around it
        }
        const bool hostOk = !hostPart.isEmpty() && !hostPart.contains(u' ') &&
                            !hostPart.contains(u'/') && !hostPart.contains(u'[');
        bool portOk = false;
        const int parsedPort = portPart.toInt(&portOk);
        if (!hostOk || !portOk || portPart.startsWith(u'+') || portPart.startsWith(u'-')) {
            error = problem(variable, quoted(value) + QStringLiteral(" is not host:port"));
            return;
        }
        if (parsedPort < 1 || parsedPort > 65535) {
            error =
                problem(variable, quoted(value) + QStringLiteral(" has a port outside 1 to 65535"));
            return;
        }
        host = hostPart;
        port = parsedPort;
    }

    // Comma-separated e-mail domains or addresses, lower-cased; "@example.org" is a domain too.
    void emailPatterns(const char16_t* variable, QStringList& target) {
        if (error)
            return;
        for (const QString& entry : commaList(text(variable))) {
            QString pattern = entry.toLower();
            if (pattern.startsWith(u'@'))
                pattern.remove(0, 1);
            const qsizetype at = pattern.indexOf(u'@');
            const QString domain = pattern.mid(at + 1);
            const bool plausible = at != 0 && pattern.count(u'@') <= 1 && domain.contains(u'.') &&
                                   !domain.startsWith(u'.') && !domain.endsWith(u'.') &&
                                   !pattern.contains(u' ');
            if (!plausible) {
                error =
                    problem(variable,
                            quoted(entry) + QStringLiteral(" is not an e-mail domain or address"));
                return;
            }
            if (!target.contains(pattern))
                target.append(pattern);
        }
    }

    // Comma-separated IP addresses, written as the service will see them.
    void addresses(const char16_t* variable, QStringList& target) {
        if (error)
            return;
        for (const QString& entry : commaList(text(variable))) {
            boost::system::error_code invalid;
            const auto address = boost::asio::ip::make_address(entry.toStdString(), invalid);
            if (invalid) {
                error = problem(variable, quoted(entry) + QStringLiteral(" is not an IP address"));
                return;
            }
            target.append(QString::fromStdString(address.to_string()));
        }
    }

    void databaseUrl(const char16_t* variable, QString& target) {
        const QString value = text(variable);
        if (value.isEmpty() || error)
            return;
        const bool sqlite = value.startsWith(u"sqlite:") && value.size() > 7;
        const bool postgres =
            value.startsWith(u"postgresql://") || value.startsWith(u"postgres://");
        if (!sqlite && !postgres) {
            error = problem(variable, QStringLiteral("not sqlite:PATH or postgresql://..."));
            return;
        }
        target = value;
    }

private:
    const QProcessEnvironment& m_environment;
};

QString defaultDatabaseUrl(const QProcessEnvironment& environment) {
    // XDG says a relative XDG_STATE_HOME is invalid and must be ignored.
    QString stateHome = environment.value(QStringLiteral("XDG_STATE_HOME"));
    if (stateHome.isEmpty() || QDir::isRelativePath(stateHome)) {
        QString home = environment.value(QStringLiteral("HOME"));
        if (home.isEmpty())
            home = QDir::homePath();
        stateHome = home + QStringLiteral("/.local/state");
    }
    return QStringLiteral("sqlite:") + stateHome + QStringLiteral("/quillo/quillo.db");
}

} // namespace

Result<ServerConfig, QString>
ServerConfig::fromEnvironment(const QProcessEnvironment& environment) {
    ServerConfig config;
    config.databaseUrl = defaultDatabaseUrl(environment);
    Reader reader(environment);

    reader.listen(u"QUILLO_SERVER_LISTEN", config.listenHost, config.listenPort);
    reader.databaseUrl(u"QUILLO_DATABASE_URL", config.databaseUrl);
    reader.webUrl(u"QUILLO_MODEL_URL", config.modelUrl);
    while (config.modelUrl.endsWith(u'/'))
        config.modelUrl.chop(1); // paths such as "/chat/completions" are appended
    if (const QString model = reader.text(u"QUILLO_MODEL_NAME"); !model.isEmpty())
        config.modelName = model;
    config.modelKey = reader.text(u"QUILLO_MODEL_KEY");
    reader.flag(u"QUILLO_MODEL_JSON_MODE", config.modelJsonMode);
    reader.number(u"QUILLO_MODEL_TIMEOUT", config.modelTimeoutSeconds, 1, 3600);
    reader.webUrl(u"QUILLO_TRANSCRIBE_URL", config.transcribeUrl);
    while (config.transcribeUrl.endsWith(u'/'))
        config.transcribeUrl.chop(1); // "/audio/transcriptions" is appended
    if (const QString model = reader.text(u"QUILLO_TRANSCRIBE_MODEL"); !model.isEmpty())
        config.transcribeModel = model;
    config.transcribeKey = reader.text(u"QUILLO_TRANSCRIBE_KEY");
    reader.number(u"QUILLO_TRANSCRIBE_TIMEOUT", config.transcribeTimeoutSeconds, 1, 3600);
    reader.number(u"QUILLO_DAILY_LIMIT", config.dailyLimit, 0, 1'000'000);
    reader.number(u"QUILLO_DAILY_FEEDBACK_LIMIT", config.dailyFeedbackLimit, 0, 1'000'000);
    config.googleClientIds = commaList(reader.text(u"QUILLO_GOOGLE_CLIENT_IDS"));
    reader.webUrl(u"QUILLO_GOOGLE_JWKS_URL", config.googleJwksUrl);
    config.releaseVersion = reader.text(u"QUILLO_RELEASE_VERSION");
    reader.webUrlOrPath(u"QUILLO_RELEASE_URL", config.releaseUrl);
    reader.number(u"QUILLO_SERVER_THREADS", config.threads, 1, 1024);
    reader.number(u"QUILLO_MAX_BODY_BYTES", config.maxBodyBytes, 1024,
                  std::numeric_limits<qint64>::max());
    reader.number(u"QUILLO_SESSION_IDLE_DAYS", config.sessionIdleDays, 1, 3650);
    int requestTimeoutSeconds = config.requestTimeoutMillis / 1000;
    reader.number(u"QUILLO_REQUEST_TIMEOUT", requestTimeoutSeconds, 1, 3600);
    config.requestTimeoutMillis = requestTimeoutSeconds * 1000;
    config.tlsCert = reader.text(u"QUILLO_TLS_CERT");
    config.tlsKey = reader.text(u"QUILLO_TLS_KEY");
    if (!reader.error && config.tlsCert.isEmpty() != config.tlsKey.isEmpty()) {
        reader.error =
            problem(config.tlsCert.isEmpty() ? u"QUILLO_TLS_KEY" : u"QUILLO_TLS_CERT",
                    QStringLiteral("set both QUILLO_TLS_CERT and QUILLO_TLS_KEY, or neither"));
    }
    reader.number(u"QUILLO_CODE_DAYS", config.codeDays, 1, 3650);
    reader.emailPatterns(u"QUILLO_GOOGLE_ALLOWED", config.googleAllowed);
    reader.addresses(u"QUILLO_TRUSTED_PROXIES", config.trustedProxies);

    if (reader.error)
        return *reader.error;
    return config;
}

QString ServerConfig::variablesHelp() {
    qsizetype nameWidth = 0;
    qsizetype defaultWidth = 0;
    for (const Variable& variable : variables) {
        nameWidth = qMax(nameWidth, name(variable.name).size());
        defaultWidth = qMax(defaultWidth, name(variable.defaultText).size());
    }
    QString help = QStringLiteral("Environment variables (unset or empty means the default):\n");
    for (const Variable& variable : variables) {
        help += QStringLiteral("  ") + name(variable.name).leftJustified(nameWidth + 2) +
                name(variable.defaultText).leftJustified(defaultWidth + 2) +
                name(variable.meaning) + u'\n';
    }
    return help;
}

} // namespace quillo::server
