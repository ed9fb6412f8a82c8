// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "language/MessageLayout.h"

#include <QVariantList>

namespace quillo {

// One piece of a laid-out message as the message view draws it: a word (hoverable, with its
// gloss and reading when it has them), a web address (one piece, opened on a click), or the
// spaces and punctuation between them.
struct MessagePiece {
    QString text;
    QString gloss;
    QString reading;
    qint64 start = 0; // UTF-16 offset into the message
    bool word = false;
    bool link = false;

    friend bool operator==(const MessagePiece&, const MessagePiece&) = default;
};

// A message's pieces broken into its lines: a line break inside a gap ends a line, so the view
// can flow each line's words on its own and wrap only between whole words.
QList<QList<MessagePiece>> messageLines(const QString& text, const MessageLayout& layout);

// The same, as the list of lists of maps a QML view reads.
QVariantList messageLinesForView(const QString& text, const MessageLayout& layout);

// The pieces back from what messageLinesForView gave.
QList<QList<MessagePiece>> messageLinesFromView(const QVariantList& lines);

// The web addresses in a text ("https://…", "www.…"), without the punctuation that ends the
// sentence around them, as UTF-16 ranges.
QList<TextRange> webAddresses(const QString& text);

} // namespace quillo
