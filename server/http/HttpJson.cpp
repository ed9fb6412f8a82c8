#include "HttpJson.h"

#include "common/JsonText.h"

#include <QJsonDocument>

#include <httplib.h>

namespace quillo::server {

void sendJson(httplib::Response& response, int status, const QJsonObject& body) {
    sendJsonBytes(response, status, compactJson(body));
}

void sendJsonBytes(httplib::Response& response, int status, const QByteArray& body) {
    response.status = status;
    // A handler that failed half-way may have set a type already; the header map keeps both.
    response.headers.erase("Content-Type");
    response.set_content(body.constData(), size_t(body.size()), "application/json");
}

void sendError(httplib::Response& response, int status, const QString& text) {
    sendJson(response, status, QJsonObject{{QStringLiteral("error"), text}});
}

Result<QJsonObject, QString> jsonObjectBody(const httplib::Request& request) {
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
