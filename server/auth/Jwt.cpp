// SPDX-License-Identifier: Apache-2.0
#include "Jwt.h"

#include <QJsonDocument>
#include <QList>

namespace quillo::server {

namespace {

bool isBase64UrlCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
}

std::optional<QJsonObject> jsonObject(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace

std::optional<QByteArray> decodeBase64Url(QByteArrayView text) {
    // One leftover character carries only six bits: no byte ends there.
    if (text.size() % 4 == 1)
        return std::nullopt;
    for (char c : text) {
        if (!isBase64UrlCharacter(c))
            return std::nullopt;
    }
    auto decoded = QByteArray::fromBase64Encoding(text.toByteArray(),
                                                  QByteArray::Base64UrlEncoding |
                                                      QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return std::move(decoded.decoded);
}

QByteArray encodeBase64Url(const QByteArray& data) {
    return data.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

Result<Jwt, QString> Jwt::parse(QByteArrayView compact) {
    if (compact.isEmpty())
        return QStringLiteral("empty token");
    if (compact.size() > maxSize)
        return QStringLiteral("token too large");
    const QByteArray token = compact.toByteArray();
    const QList<QByteArray> parts = token.split('.');
    if (parts.size() != 3)
        return QStringLiteral("token is not three dot-separated parts");

    const auto headerBytes = decodeBase64Url(parts[0]);
    const auto payloadBytes = decodeBase64Url(parts[1]);
    auto signature = decodeBase64Url(parts[2]);
    if (!headerBytes || !payloadBytes || !signature)
        return QStringLiteral("token part is not base64url");
    if (signature->isEmpty())
        return QStringLiteral("token has no signature");

    auto header = jsonObject(*headerBytes);
    if (!header)
        return QStringLiteral("token header is not a JSON object");
    auto payload = jsonObject(*payloadBytes);
    if (!payload)
        return QStringLiteral("token payload is not a JSON object");

    if (header->value(u"alg").toString() != u"RS256")
        return QStringLiteral("token algorithm is not RS256");
    // Extensions we would have to understand to verify correctly: refuse rather than ignore.
    if (header->contains(u"crit"))
        return QStringLiteral("token names critical header extensions");
    const QString keyId = header->value(u"kid").toString();
    if (keyId.isEmpty())
        return QStringLiteral("token has no key id");

    Jwt jwt;
    jwt.header = std::move(*header);
    jwt.payload = std::move(*payload);
    jwt.keyId = keyId;
    jwt.signingInput = token.first(parts[0].size() + 1 + parts[1].size());
    jwt.signature = std::move(*signature);
    return jwt;
}

} // namespace quillo::server
