// SPDX-License-Identifier: Apache-2.0
#include "Segments.h"

#include <algorithm>

namespace quillo::Segments {

namespace {

// Each gloss takes the next occurrence of its word after the previous match, so a word that
// occurs twice is glossed twice in order, and a gloss for a word already passed is lost.
QList<Segment> placeGlosses(const QString& text, const QList<WordGloss>& words) {
    QList<Segment> placed;
    qsizetype cursor = 0;
    for (const WordGloss& word : words) {
        if (word.text.isEmpty())
            continue;
        const qsizetype location = QStringView(text).indexOf(word.text, cursor, Qt::CaseSensitive);
        if (location < 0)
            continue;
        cursor = location + word.text.size();
        placed.append(Segment{location, cursor, word.gloss});
    }
    return placed;
}

// Plain word segments for text[from, to), tokenized by itself so the glossed words around it
// cannot change how it is cut.
void appendGap(const QString& text, qint64 from, qint64 to, const BreakWords& breakWords,
               QList<Segment>& into) {
    const QString gap = text.sliced(from, to - from);
    for (const TextRange& range : breakWords(gap)) {
        // A break function that strays outside its gap gets nothing for it, not a crash.
        if (range.location < 0 || range.length <= 0 || range.location > gap.size() - range.length)
            continue;
        if (WordBreaks::hasLetterOrNumber(QStringView(gap).sliced(range.location, range.length)))
            into.append(Segment{from + range.location, from + range.end(), std::nullopt});
    }
}

} // namespace

QList<Segment> build(const QString& text, const QList<WordGloss>& words,
                     const BreakWords& breakWords) {
    QList<Segment> segments = placeGlosses(text, words);
    if (!breakWords)
        return segments;

    QList<Segment> walk = segments;
    walk.append(Segment{text.size(), text.size(), std::nullopt}); // closes the last gap
    qint64 cursor = 0;
    for (const Segment& segment : walk) {
        if (cursor < segment.start)
            appendGap(text, cursor, segment.start, breakWords, segments);
        cursor = std::max(cursor, segment.end);
    }
    // Stable, so a glossed segment stays ahead of a plain one with the same start.
    std::stable_sort(segments.begin(), segments.end(),
                     [](const Segment& a, const Segment& b) { return a.start < b.start; });
    return segments;
}

std::optional<Segment> at(const QList<Segment>& segments, qint64 offset) {
    for (const Segment& segment : segments) {
        if (segment.start <= offset && offset < segment.end)
            return segment;
    }
    return std::nullopt;
}

} // namespace quillo::Segments
