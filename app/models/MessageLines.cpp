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
    for (const Segment& segment : layout.segments) {
        const QStringView piece = QStringView(text).mid(segment.start, segment.end - segment.start);
        if (segment.gloss || holdsLetterOrNumber(piece)) {
            lines.last().append({piece.toString(), segment.gloss.value_or(QString()),
                                 readings.value(segment.start), segment.start, true});
            continue;
        }
        // A gap: every line break in it starts a new line.
        qsizetype from = 0;
        for (;;) {
            const qsizetype end = piece.indexOf(u'\n', from);
            const QStringView part = piece.mid(from, end < 0 ? -1 : end - from);
            if (!part.isEmpty())
                lines.last().append({part.toString(), {}, {}, segment.start + from, false});
            if (end < 0)
                break;
            lines.append(QList<MessagePiece>());
            from = end + 1;
        }
    }
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
