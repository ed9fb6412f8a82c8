// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "language/WordBreaks.h"
#include "model/WordGloss.h"

#include <functional>
#include <optional>

namespace quillo {

// One word of a laid-out message: its UTF-16 offsets in the text and, when it came with the
// message's glosses, its gloss.
struct Segment {
    qint64 start = 0;
    qint64 end = 0;
    std::optional<QString> gloss;

    TextRange range() const { return {start, end - start}; }

    friend bool operator==(const Segment&, const Segment&) = default;
};

// A message's text as a run of word segments: the glossed words where the glosses say, plain
// words in between.
namespace Segments {

// Splits a gap of text into word ranges relative to it.
using BreakWords = std::function<QList<TextRange>(const QString&)>;

// Glossed segments first placed in gloss order (a literal search moving forward), then the gaps
// broken into plain words; the result sorted by start.
QList<Segment> build(const QString& text, const QList<WordGloss>& words,
                     const BreakWords& breakWords);

// The first segment holding `offset`; an offset at a segment's end belongs to the next one.
std::optional<Segment> at(const QList<Segment>& segments, qint64 offset);

} // namespace Segments

} // namespace quillo
