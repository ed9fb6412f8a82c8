#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace httplib {
struct Request;
struct Response;
} // namespace httplib

namespace quillo::server {

// Every answer of the service is JSON; these are the only ways handlers write one.
void sendJson(httplib::Response& response, int status, const QJsonObject& body);
// A body assembled by hand (it embeds stored document bytes as they are).
void sendJsonBytes(httplib::Response& response, int status, const QByteArray& body);
// The one error shape: {"error":"short text"}.
void sendError(httplib::Response& response, int status, const QString& text);

// The request body as a JSON object, or the short reason it is not one.
Result<QJsonObject, QString> jsonObjectBody(const httplib::Request& request);

} // namespace quillo::server
