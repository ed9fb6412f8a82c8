// SPDX-License-Identifier: Apache-2.0
#include "MessageLines.h"

#include <QHash>
#include <QRegularExpression>
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

QList<TextRange> webAddresses(const QString& text) {
    // Chinese and Japanese run on after an address without a space; their characters and
    // full-width punctuation end it.
    static const QRegularExpression address(QStringLiteral(
        R"((?:\b[a-zA-Z][a-zA-Z0-9+.-]*://|\bwww\.)[^\s<>"\x{3000}-\x{30FF}\x{4E00}-\x{9FFF}\x{FF00}-\x{FFEF}]+)"));
    // What closes the sentence, not the address: "(see https://a.org/x)." keeps "/x".
    static const QString closing = QStringLiteral(".,;:!?'\"”’»)]}…。、，！？");
    QList<TextRange> found;
    for (auto match = address.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch next = match.next();
        qsizetype end = next.capturedEnd();
        while (end > next.capturedStart() && closing.contains(text[end - 1])) {
            // A bracket the address itself opened stays with it, as in wiki addresses.
            const QChar last = text[end - 1];
            if (last == u')' &&
                text.mid(next.capturedStart(), end - next.capturedStart()).count(u'(') >
                    text.mid(next.capturedStart(), end - next.capturedStart() - 1).count(u')'))
                break;
            --end;
        }
        // "www." alone, or a scheme with nothing after it, is no address.
        const QStringView taken =
            QStringView(text).mid(next.capturedStart(), end - next.capturedStart());
        if (taken.endsWith(u"://") || taken.compare(u"www.", Qt::CaseInsensitive) == 0)
            continue;
        found.append({next.capturedStart(), end - next.capturedStart()});
    }
    return found;
}

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
    const QList<TextRange> addresses = webAddresses(text);
    auto address = addresses.cbegin();
    // An address is one piece, whatever words the segments found in it.
    const auto addAddressesBefore = [&](qsizetype before) {
        for (; address != addresses.cend() && address->location < before; ++address) {
            addGap(covered, address->location);
            lines.last().append({text.mid(address->location, address->length),
                                 {},
                                 {},
                                 address->location,
                                 false,
                                 true});
            covered = address->end();
        }
    };
    for (const Segment& segment : layout.segments) {
        addAddressesBefore(segment.end);
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
    addAddressesBefore(text.size());
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
                                      {QStringLiteral("word"), piece.word},
                                      {QStringLiteral("link"), piece.link}});
        lines.append(QVariant(pieces));
    }
    return lines;
}

QList<QList<MessagePiece>> messageLinesFromView(const QVariantList& lines) {
    QList<QList<MessagePiece>> read;
    read.reserve(lines.size());
    for (const QVariant& line : lines) {
        QList<MessagePiece>& pieces = read.emplace_back();
        for (const QVariant& value : line.toList()) {
            const QVariantMap piece = value.toMap();
            pieces.append({piece.value(QStringLiteral("text")).toString(),
                           piece.value(QStringLiteral("gloss")).toString(),
                           piece.value(QStringLiteral("reading")).toString(),
                           piece.value(QStringLiteral("start")).toLongLong(),
                           piece.value(QStringLiteral("word")).toBool(),
                           piece.value(QStringLiteral("link")).toBool()});
        }
    }
    return read;
}

} // namespace quillo
