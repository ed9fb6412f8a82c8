// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "language/Segments.h"

#include <QList>

namespace quillo {

// The reading line's text above one piece of a message.
struct Reading {
    TextRange range;
    QString text;

    friend bool operator==(const Reading&, const Reading&) = default;
};

// A message as the conversation shows it: its word segments and, when the language shows
// pronunciation, a reading for every segment that has one.
struct MessageLayout {
    QList<Segment> segments;
    QList<Reading> readings;

    friend bool operator==(const MessageLayout&, const MessageLayout&) = default;
};

// What to lay out: a message's text and glosses in the language of its conversation.
struct LayoutRequest {
    QString text;
    QList<WordGloss> glosses;
    QString language;
    bool withReadings = false;
};

// One message: segments with the gaps broken for `language`, then a reading per segment.
// Readings are the costly part (ICU takes about 10 µs for a Chinese word, and runs every
// rule-based transform of the process under one lock, so more threads do not help): lay out
// the messages on screen, not the whole conversation.
MessageLayout layOutMessage(const LayoutRequest& request);

} // namespace quillo
