// SPDX-License-Identifier: Apache-2.0
#include "UpdateCheck.h"

#include "model/JsonCodec.h"
#include "service/HttpRequest.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QList>
#include <QNetworkRequest>
#include <QStringList>
#include <QStringView>

#include <algorithm>
#include <memory>

namespace quillo::UpdateCheck {

namespace {

// Generous for one small JSON answer; the check runs in the background, so nobody waits on it.
constexpr HttpLimits limits{std::chrono::seconds(30), std::chrono::seconds(60)};

// One piece of a version: ASCII digits with an optional sign, nothing else, within 64 bits.
std::optional<qint64> versionPiece(QStringView piece) {
    QStringView digits = piece;
    if (digits.startsWith(u'+') || digits.startsWith(u'-'))
        digits = digits.sliced(1);
    if (digits.isEmpty())
        return std::nullopt;
    for (const QChar c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const qint64 value = piece.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return value;
}

// The numeric pieces of a version, or nothing when it is not made of them only.
std::optional<QList<qint64>> versionPieces(const QString& version) {
    const QStringList pieces = version.split(u'.', Qt::SkipEmptyParts);
    if (pieces.isEmpty())
        return std::nullopt;
    QList<qint64> numbers;
    numbers.reserve(pieces.size());
    for (const QString& piece : pieces) {
        const std::optional<qint64> number = versionPiece(piece);
        if (!number)
            return std::nullopt;
        numbers.append(*number);
    }
    return numbers;
}

// What the service publishes; `url` may be relative to the service.
struct Release {
    QString version;
    QString url;
};

Decoded<Release> decodeRelease(const QByteArray& body) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return DecodeError{{}, QStringLiteral("malformed JSON: ") + parseError.errorString()};
    if (!document.isObject())
        return DecodeError{{}, QStringLiteral("expected an object")};
    ObjectReader r(QJsonValue(document.object()));
    Release release{r.required<QString>(QStringLiteral("version")),
                    r.required<QString>(QStringLiteral("url"))};
    if (r.failed())
        return r.error();
    return release;
}

// The service's address with "v1/apps/mac" appended to whatever path it already has.
QUrl releaseAddress(QUrl server) {
    QString path = server.path();
    if (!path.endsWith(u'/'))
        path += u'/';
    server.setPath(path + QStringLiteral("v1/apps/mac"));
    return server;
}

// The download address in absolute form, or nothing when the service sent something unusable.
std::optional<QUrl> downloadAddress(const QString& text, const QUrl& server) {
    // Strict, so that stray spaces or brackets are refused rather than quietly escaped.
    const QUrl link(text, QUrl::StrictMode);
    if (link.isEmpty() || !link.isValid())
        return std::nullopt;
    // Any absolute address is the service's to choose (a mirror over FTP, a store's own link);
    // the banner hands it to the desktop's opener as it is.
    const QUrl absolute = server.resolved(link);
    if (!absolute.isValid() || absolute.isRelative())
        return std::nullopt;
    return absolute;
}

} // namespace

bool isNewer(const QString& candidate, const QString& current) {
    const std::optional<QList<qint64>> offered = versionPieces(candidate);
    const std::optional<QList<qint64>> running = versionPieces(current);
    if (!offered || !running)
        return false;
    const qsizetype length = std::max(offered->size(), running->size());
    for (qsizetype i = 0; i < length; ++i) {
        const qint64 mine = i < offered->size() ? offered->at(i) : 0;
        const qint64 theirs = i < running->size() ? running->at(i) : 0;
        if (mine != theirs)
            return mine > theirs;
    }
    return false;
}

QCoro::Task<std::optional<MacUpdate>> newer(QString currentVersion, QUrl server) {
    // A build without a usable version (a development build says "dev") could never be offered
    // anything, so it does not ask.
    if (!versionPieces(currentVersion))
        co_return std::nullopt;
    const QUrl address = releaseAddress(server);
    if (!address.isValid() || address.isRelative())
        co_return std::nullopt;

    // The manager belongs to this one request.
    auto asking = sendRequest(newNetwork(), "GET", QNetworkRequest(address), std::nullopt, limits);
    const HttpAnswer answer = co_await asking;
    // A 200 that broke off half-way is not whole; its body is not to be trusted.
    if (!answer.whole() || answer.status != 200)
        co_return std::nullopt;
    const Decoded<Release> release = decodeRelease(answer.body);
    if (!release)
        co_return std::nullopt;
    const std::optional<QUrl> url = downloadAddress(release->url, server);
    if (!url || !isNewer(release->version, currentVersion))
        co_return std::nullopt;
    co_return std::optional<MacUpdate>(MacUpdate{release->version, *url});
}

} // namespace quillo::UpdateCheck
