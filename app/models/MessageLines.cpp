// SPDX-License-Identifier: Apache-2.0
#include "MessageLines.h"

#include <QHash>
#include <QStringView>
#include <QVariantMap>

namespace quillo {

namespace {

bool holdsLetterOrNumber(QStringView text) {
    for (const char32_t c : text.toUcs4()) {
        if (QChar::isLetterOrNumber(c))
            return true;
    }
    return false;
}

} // namespace

QList<QList<MessagePiece>> messageLines(const QString& text, const MessageLayout& layout) {
    QHash<qint64, QString> readings;
    for (const Reading& reading : layout.readings)
        readings.insert(reading.range.location, reading.text);

    QList<QList<MessagePiece>> lines(1);
    // Text that no segment covers (spaces, punctuation): every line break in it starts a new
    // line.
    const auto addGap = [&](qsizetype from, qsizetype to) {
        while (from < to) {
            const qsizetype lineBreak = text.indexOf(u'\n', from);
            const qsizetype partEnd = lineBreak < 0 || lineBreak >= to ? to : lineBreak;
            if (partEnd > from)
                lines.last().append({text.mid(from, partEnd - from), {}, {}, from, false});
            if (partEnd == to)
                break;
            lines.append(QList<MessagePiece>());
            from = partEnd + 1;
        }
    };
    qsizetype covered = 0;
    for (const Segment& segment : layout.segments) {
        if (segment.start < covered || segment.end > text.size())
            continue;
        addGap(covered, segment.start);
        const QStringView piece = QStringView(text).mid(segment.start, segment.end - segment.start);
        if (segment.gloss || holdsLetterOrNumber(piece))
            lines.last().append({piece.toString(), segment.gloss.value_or(QString()),
                                 readings.value(segment.start), segment.start, true});
        else
            addGap(segment.start, segment.end);
        covered = segment.end;
    }
    addGap(covered, text.size());
    return lines;
}

QVariantList messageLinesForView(const QString& text, const MessageLayout& layout) {
    QVariantList lines;
    for (const QList<MessagePiece>& line : messageLines(text, layout)) {
        QVariantList pieces;
        for (const MessagePiece& piece : line)
            pieces.append(QVariantMap{{QStringLiteral("text"), piece.text},
                                      {QStringLiteral("gloss"), piece.gloss},
                                      {QStringLiteral("reading"), piece.reading},
                                      {QStringLiteral("start"), piece.start},
                                      {QStringLiteral("word"), piece.word}});
        lines.append(QVariant(pieces));
    }
    return lines;
}

} // namespace quillo
