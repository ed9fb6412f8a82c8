// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

namespace quillo {

// White space in the broad sense used throughout: blanks, tabs, line breaks and the Unicode
// space separators.
bool isWhitespaceOrNewline(QChar c);

// Trims white space and line breaks from both ends.
QString trimmedText(const QString& text);

// True when nothing but white space and line breaks is left after trimming.
bool isBlank(const QString& text);

// Every run of white space, line breaks included, becomes one blank; no blanks at the ends.
QString collapsingWhitespace(const QString& text);

// The first `count` user-perceived characters of the text (a letter with its accents, an
// emoji with its modifiers count as one).
QString leadingCharacters(const QString& text, qsizetype count);

// A comma-separated field as a list: pieces trimmed, empty ones dropped, and later spellings
// of an entry already seen (ignoring case) dropped, so the first spelling wins.
QStringList parseList(const QString& text);

// Adds `item` to the comma-separated `list`, or removes every spelling of it when it is
// already there (ignoring case); returns the entries joined with ", ".
QString toggleListItem(const QString& list, const QString& item);

} // namespace quillo
