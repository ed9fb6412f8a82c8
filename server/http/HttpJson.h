// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HttpMessage.h"
#include "common/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace quillo::server {

// Every answer of the service is JSON; these are the only ways handlers write one.
void sendJson(HttpResponse& response, int status, const QJsonObject& body);
// A body assembled by hand (it embeds stored document bytes as they are).
void sendJsonBytes(HttpResponse& response, int status, const QByteArray& body);
// The one error shape: {"error":"short text"}.
void sendError(HttpResponse& response, int status, const QString& text);

// The request body as a JSON object, or the short reason it is not one.
Result<QJsonObject, QString> jsonObjectBody(const HttpRequest& request);

} // namespace quillo::server
