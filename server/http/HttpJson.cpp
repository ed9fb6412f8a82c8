// SPDX-License-Identifier: Apache-2.0
#include "HttpJson.h"

#include "common/JsonText.h"

#include <QJsonDocument>

namespace quillo::server {

void sendJson(HttpResponse& response, int status, const QJsonObject& body) {
    sendJsonBytes(response, status, compactJson(body));
}

void sendJsonBytes(HttpResponse& response, int status, const QByteArray& body) {
    response.status = status;
    response.contentType = "application/json";
    response.body.assign(body.constData(), size_t(body.size()));
}

void sendError(HttpResponse& response, int status, const QString& text) {
    sendJson(response, status, QJsonObject{{QStringLiteral("error"), text}});
}

Result<QJsonObject, QString> jsonObjectBody(const HttpRequest& request) {
    QJsonParseError error;
    // Parsed in place: bodies may be large, and the parser keeps no reference to them.
    const QJsonDocument json = QJsonDocument::fromJson(
        QByteArray::fromRawData(request.body.data(), qsizetype(request.body.size())), &error);
    if (error.error != QJsonParseError::NoError)
        return QStringLiteral("malformed JSON");
    if (!json.isObject())
        return QStringLiteral("expected a JSON object");
    return json.object();
}

} // namespace quillo::server
