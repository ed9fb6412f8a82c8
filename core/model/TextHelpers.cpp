// SPDX-License-Identifier: Apache-2.0
#include "TextHelpers.h"

#include <QSet>
#include <QTextBoundaryFinder>

namespace quillo {

bool isWhitespaceOrNewline(QChar c) {
    return c.isSpace();
}

QString trimmedText(const QString& text) {
    // QString::trimmed() uses the same notion of white space as isWhitespaceOrNewline.
    return text.trimmed();
}

bool isBlank(const QString& text) {
    for (QChar c : text) {
        if (!isWhitespaceOrNewline(c))
            return false;
    }
    return true;
}

QString collapsingWhitespace(const QString& text) {
    QString result;
    result.reserve(text.size());
    bool pendingBlank = false;
    for (QChar c : text) {
        if (isWhitespaceOrNewline(c)) {
            pendingBlank = !result.isEmpty();
            continue;
        }
        if (pendingBlank) {
            result += u' ';
            pendingBlank = false;
        }
        result += c;
    }
    return result;
}

QString leadingCharacters(const QString& text, qsizetype count) {
    if (count <= 0)
        return {};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype seen = 0;
    while (finder.toNextBoundary() != -1) {
        if (++seen == count)
            return text.left(finder.position());
    }
    return text;
}

QStringList parseList(const QString& text) {
    QStringList entries;
    QSet<QString> seen;
    for (const QString& piece : text.split(u',', Qt::SkipEmptyParts)) {
        const QString entry = trimmedText(piece);
        if (entry.isEmpty())
            continue;
        const QString key = entry.toLower();
        if (seen.contains(key))
            continue;
        seen.insert(key);
        entries.append(entry);
    }
    return entries;
}

QString toggleListItem(const QString& list, const QString& item) {
    QStringList entries = parseList(list);
    const auto sameItem = [&item](const QString& entry) {
        return entry.compare(item, Qt::CaseInsensitive) == 0;
    };
    if (std::any_of(entries.cbegin(), entries.cend(), sameItem))
        entries.removeIf(sameItem);
    else
        entries.append(item);
    return entries.join(QStringLiteral(", "));
}

} // namespace quillo
