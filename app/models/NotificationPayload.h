// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/StoredState.h"

namespace quillo {

// What a desktop notification for a contact's messages shows: the avatar (initials on the
// contact's colour), the contact's name, the language and level it writes in, and the text.
// Activating the notification opens the conversation of `botId`.
struct NotificationPayload {
    QString botId;
    QString title;    // the contact's display name
    QString initials; // for the avatar
    QString accent;   // the avatar's colour, "#RRGGBB"
    QString subtitle; // "Spanish · B1"; for a contact that writes any language, what it writes now
    QString body;     // the unread messages, oldest first, one a line

    // `messages` are the contact's unread messages, in document order.
    static NotificationPayload of(const StoredState& state, const BotProfile& bot,
                                  const QList<ChatMessage>& messages);

    friend bool operator==(const NotificationPayload&, const NotificationPayload&) = default;
};

// "Spanish · B1": the language a contact writes now and the user's level in it; for a contact
// that writes any language, what it chose.
QString languageAndLevel(const StoredState& state, const BotProfile& bot);

} // namespace quillo
