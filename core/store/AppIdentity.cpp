// SPDX-License-Identifier: Apache-2.0
#include "AppIdentity.h"

namespace quillo {

QString AppIdentity::displayName() {
    return QStringLiteral("Quillo");
}

QString AppIdentity::bundleIdentifier() {
    return QStringLiteral("app.quillo.mac");
}

QString AppIdentity::supportSuiteName() {
    return QStringLiteral("QuilloMac");
}

QStringList AppIdentity::legacySupportSuiteNames() {
    return {QStringLiteral("ZindraMac"), QStringLiteral("TolkoraMac")};
}

QString AppIdentity::launchAgentLabel() {
    return QStringLiteral("app.quillo.agent");
}

QString AppIdentity::version() {
#ifdef QUILLO_VERSION
    const QString stamped = QString::fromUtf8(QUILLO_VERSION).trimmed();
    if (!stamped.isEmpty())
        return stamped;
#endif
    return QStringLiteral("dev");
}

QUrl AppIdentity::apiBaseURL() {
    return apiBaseURL(qEnvironmentVariable("QUILLO_API_URL"));
}

QUrl AppIdentity::apiBaseURL(const QString& overrideText) {
    // Every request path is resolved against this origin, so only an absolute web URL with a
    // host will do; anything else is a typo, and the default is the better guess.
    const QUrl url(overrideText.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && (scheme == u"http" || scheme == u"https") && !url.host().isEmpty())
        return url;
    return defaultApiBaseURL();
}

QUrl AppIdentity::defaultApiBaseURL() {
    return QUrl(QStringLiteral("http://127.0.0.1:8787"));
}

} // namespace quillo
