// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>

namespace quillo::server {

// The body of PUT /v1/state: {"state":<document>,"baseUpdatedAt":N}. The document is kept as the
// exact bytes the app sent, never re-serialised, so that what it downloads later is byte for byte
// what it uploaded.
struct StateUpload {
    QByteArray stateBytes;
    qint64 baseUpdatedAt = 0;
    bool setupCompleted = false; // the uploaded profile's

    // The upload in `body`, or why it is refused (a 400). A document that does not decode is
    // refused with the decoder's field path, which names fields and never quotes their text.
    static Result<StateUpload, QString> parse(const QByteArray& body);
};

// Whether a stored document's profile says the user finished setting up. Reads only the profile,
// however long the chats are; anything unreadable reads as not set up.
bool setupCompletedIn(const QByteArray& document);

// Where the value of the top-level member `key` of a JSON object lies in `json`: [begin, end)
// byte offsets. Nothing when the object has no such member, or has it more than once (which
// one a parser takes is anyone's guess), or when `json` is not an object.
std::optional<std::pair<qsizetype, qsizetype>> memberSpan(const QByteArray& json,
                                                          const QString& key);

} // namespace quillo::server
