// SPDX-License-Identifier: Apache-2.0
#include "MessageFlow.h"

#include <QFontMetricsF>
#include <QVariantMap>

#include <unicode/brkiter.h>
#include <unicode/ubidi.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace quillo {

namespace {

// Building an iterator loads its rules, which costs more than a message; each thread keeps
// one of each and points it at nothing once done.
icu::BreakIterator* lineBreaks() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createLineInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

icu::BreakIterator* graphemes() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

icu::UnicodeString aliasOf(const QString& text) {
    return icu::UnicodeString(false, reinterpret_cast<const char16_t*>(text.utf16()),
                              int32_t(text.size()));
}

// The offsets in `text` where `iterator` finds a boundary, as one flag per offset.
QList<bool> boundaries(icu::BreakIterator* iterator, const QString& text) {
    QList<bool> found(text.size() + 1, false);
    if (!iterator) {
        found.fill(true);
        return found;
    }
    const icu::UnicodeString alias = aliasOf(text);
    iterator->setText(alias);
    for (int32_t at = iterator->first(); at != icu::BreakIterator::DONE; at = iterator->next())
        found[at] = true;
    static const icu::UnicodeString nothing;
    iterator->setText(nothing);
    return found;
}

bool isSpace(QStringView text) {
    for (const QChar c : text) {
        if (!u_isUWhiteSpace(c.unicode()))
            return false;
    }
    return !text.isEmpty();
}

// A run of a paragraph that is laid out as one: a word, an address, or a part of a gap
// between two places where a line may break or the direction changes.
struct Atom {
    int piece = 0;
    qsizetype from = 0; // in the paragraph
    qsizetype to = 0;
    bool breakBefore = false;
    bool space = false;
    UBiDiLevel level = 0;
    qreal width = 0;
};

// What goes on a line: an atom, or the part of one that is wider than a line.
struct Part {
    int atom = 0;
    qsizetype from = 0;
    qsizetype to = 0;
    qreal textWidth = 0;
    qreal readingWidth = 0; // the reading goes over the first part of a word
    bool hangs = false;

    qreal width() const { return hangs ? 0 : std::max(textWidth, readingWidth); }
};

struct Paragraph {
    QString text;
    QList<qsizetype> offsets; // of each piece in `text`
    QList<Atom> atoms;
    UBiDiLevel level = 0;
};

Paragraph paragraphOf(const QList<MessagePiece>& pieces, UBiDiLevel defaultLevel,
                      const FlowMetrics& metrics) {
    Paragraph paragraph;
    for (const MessagePiece& piece : pieces) {
        paragraph.offsets.append(paragraph.text.size());
        paragraph.text += piece.text;
    }
    const QString& text = paragraph.text;
    const qsizetype length = text.size();

    QList<UBiDiLevel> levels(length, defaultLevel & 1);
    paragraph.level = defaultLevel & 1;
    if (length > 0) {
        UErrorCode status = U_ZERO_ERROR;
        UBiDi* bidi = ubidi_openSized(int32_t(length), 0, &status);
        ubidi_setPara(bidi, reinterpret_cast<const UChar*>(text.utf16()), int32_t(length),
                      defaultLevel, nullptr, &status);
        if (U_SUCCESS(status)) {
            const UBiDiLevel* found = ubidi_getLevels(bidi, &status);
            if (U_SUCCESS(status))
                std::copy(found, found + length, levels.begin());
            paragraph.level = ubidi_getParaLevel(bidi);
        }
        ubidi_close(bidi);
    }
    const QList<bool> breaks = boundaries(lineBreaks(), text);

    const auto addAtom = [&](int piece, qsizetype from, qsizetype to) {
        Atom atom{piece,
                  from,
                  to,
                  from > 0 && breaks[from],
                  isSpace(QStringView(text).mid(from, to - from)),
                  *std::min_element(levels.begin() + from, levels.begin() + to)};
        const MessagePiece& source = pieces[piece];
        atom.width = metrics.textWidth(text.mid(from, to - from));
        if (metrics.readings && !source.reading.isEmpty())
            atom.width = std::max(atom.width, metrics.readingWidth(source.reading));
        paragraph.atoms.append(atom);
    };
    for (int i = 0; i < pieces.size(); ++i) {
        const qsizetype from = paragraph.offsets[i];
        const qsizetype to = from + pieces[i].text.size();
        if (from == to)
            continue;
        if (pieces[i].word || pieces[i].link) {
            addAtom(i, from, to);
            continue;
        }
        // Spaces and punctuation split where a line may break, where the direction turns,
        // and where spaces start or end, so that spaces can hang at a line's end.
        qsizetype start = from;
        for (qsizetype at = from + 1; at < to; ++at) {
            if (breaks[at] || levels[at] != levels[at - 1] ||
                u_isUWhiteSpace(text[at].unicode()) != u_isUWhiteSpace(text[at - 1].unicode())) {
                addAtom(i, start, at);
                start = at;
            }
        }
        addAtom(i, start, to);
    }
    return paragraph;
}

// Breaks the atoms of a paragraph into lines at most `width` wide.
QList<QList<Part>> linesOf(const Paragraph& paragraph, const QList<MessagePiece>& pieces,
                           qreal width, const FlowMetrics& metrics) {
    QList<QList<Part>> lines(1);
    qreal used = 0;    // up to the end of the line's last piece that is not a space
    qreal pending = 0; // spaces after it
    const auto newLine = [&] {
        lines.append(QList<Part>());
        used = 0;
        pending = 0;
    };
    const auto whole = [&](int index) {
        const Atom& atom = paragraph.atoms[index];
        const MessagePiece& piece = pieces[atom.piece];
        Part part{index, atom.from, atom.to, atom.width, 0};
        if (metrics.readings && !piece.reading.isEmpty()) {
            part.readingWidth = metrics.readingWidth(piece.reading);
            part.textWidth = metrics.textWidth(paragraph.text.mid(atom.from, atom.to - atom.from));
        }
        return part;
    };
    const auto place = [&](const Part& part, bool space) {
        lines.last().append(part);
        if (space) {
            pending += part.width();
        } else {
            used += pending + part.width();
            pending = 0;
        }
    };
    // An atom wider than any line: as many graphemes as fit on each line.
    const auto breakUp = [&](int index) {
        const Atom& atom = paragraph.atoms[index];
        const MessagePiece& piece = pieces[atom.piece];
        const QList<bool> clusters =
            boundaries(graphemes(), paragraph.text.mid(atom.from, atom.to - atom.from));
        qsizetype from = atom.from;
        while (from < atom.to) {
            qreal reading = 0;
            if (from == atom.from && metrics.readings && !piece.reading.isEmpty())
                reading = metrics.readingWidth(piece.reading);
            qsizetype to = from;
            qreal fitted = 0;
            for (qsizetype next = from + 1; next <= atom.to; ++next) {
                if (!clusters[next - atom.from])
                    continue;
                const qreal wide = metrics.textWidth(paragraph.text.mid(from, next - from));
                // Every line holds at least one grapheme.
                if (to > from && wide > width - used)
                    break;
                to = next;
                fitted = wide;
            }
            if (to == from)
                to = atom.to;
            place(Part{index, from, to, fitted, reading}, false);
            from = to;
            if (from < atom.to)
                newLine();
        }
    };

    const QList<Atom>& atoms = paragraph.atoms;
    for (int first = 0; first < atoms.size();) {
        // A unit: the atoms between two places where the line may break.
        int end = first + 1;
        while (end < atoms.size() && !atoms[end].breakBefore)
            ++end;
        int lastInk = end - 1;
        while (lastInk >= first && atoms[lastInk].space)
            --lastInk;
        qreal ink = 0;
        for (int i = first; i <= lastInk; ++i)
            ink += atoms[i].width;
        if (!lines.last().isEmpty() && used + pending + ink > width)
            newLine();
        if (used + pending + ink <= width || ink == 0) {
            for (int i = first; i < end; ++i)
                place(whole(i), atoms[i].space);
        } else {
            // Not even a line of its own holds it: break it between atoms, then inside them.
            for (int i = first; i < end; ++i) {
                if (atoms[i].space) {
                    place(whole(i), true);
                    continue;
                }
                if (!lines.last().isEmpty() && used + pending + atoms[i].width > width)
                    newLine();
                if (used + atoms[i].width <= width)
                    place(whole(i), false);
                else
                    breakUp(i);
            }
        }
        first = end;
    }
    // Spaces at a line's end hang past it: they take no room and are not drawn.
    for (QList<Part>& line : lines) {
        for (qsizetype i = line.size() - 1; i >= 0 && atoms[line[i].atom].space; --i)
            line[i].hangs = true;
    }
    return lines;
}

} // namespace

MessageFlowLayout flowMessage(const QList<QList<MessagePiece>>& lines, qreal width,
                              const FlowMetrics& metrics) {
    MessageFlowLayout layout;
    // Before the view has a width, nothing is broken: a line per paragraph, not a grapheme.
    if (width <= 0)
        width = std::numeric_limits<qreal>::infinity();
    QString whole;
    for (const auto& line : lines) {
        for (const MessagePiece& piece : line)
            whole += piece.text;
        whole += u'\n';
    }
    layout.rightToLeft = ubidi_getBaseDirection(reinterpret_cast<const UChar*>(whole.utf16()),
                                                int32_t(whole.size())) == UBIDI_RTL;
    const UBiDiLevel defaultLevel = layout.rightToLeft ? UBIDI_DEFAULT_RTL : UBIDI_DEFAULT_LTR;
    layout.lineHeight = (metrics.readings ? metrics.readingHeight + metrics.readingGap : 0) +
                        metrics.textHeight + metrics.lineGap;

    struct LineExtent {
        qsizetype first = 0; // into layout.pieces
        qreal width = 0;
        bool alignRight = false;
    };
    QList<LineExtent> extents;
    for (const QList<MessagePiece>& pieces : lines) {
        const Paragraph paragraph = paragraphOf(pieces, defaultLevel, metrics);
        const bool paragraphRightToLeft = paragraph.level & 1;
        for (const QList<Part>& parts : linesOf(paragraph, pieces, width, metrics)) {
            const int line = int(layout.lineTops.size());
            layout.lineTops.append(line * layout.lineHeight);
            LineExtent extent{layout.pieces.size(), 0, paragraphRightToLeft};

            // Visual order from the levels; hanging spaces take the paragraph's (rule L1).
            QList<UBiDiLevel> levels;
            for (const Part& part : parts)
                levels.append(part.hangs ? paragraph.level : paragraph.atoms[part.atom].level);
            QList<int32_t> visual(parts.size());
            if (!parts.isEmpty())
                ubidi_reorderVisual(levels.constData(), int32_t(parts.size()), visual.data());
            QList<qreal> xs(parts.size());
            for (const int32_t logical : visual) {
                xs[logical] = extent.width;
                extent.width += parts[logical].width();
            }
            for (qsizetype i = 0; i < parts.size(); ++i) {
                const Part& part = parts[i];
                const Atom& atom = paragraph.atoms[part.atom];
                const MessagePiece& piece = pieces[atom.piece];
                PlacedPiece placed;
                placed.piece = piece;
                placed.part = paragraph.text.mid(part.from, part.to - part.from);
                placed.partStart = piece.start + (part.from - paragraph.offsets[atom.piece]);
                placed.x = xs[i];
                placed.y = layout.lineTops.last();
                placed.width = part.width();
                placed.textWidth = part.textWidth;
                placed.readingWidth = part.readingWidth;
                placed.line = line;
                placed.rightToLeft = levels[i] & 1;
                placed.alignRight = paragraphRightToLeft;
                placed.shown = !part.hangs;
                layout.pieces.append(placed);
            }
            layout.naturalWidth = std::max(layout.naturalWidth, extent.width);
            extents.append(extent);
        }
    }
    // A right-to-left paragraph's lines end at the right edge of the widest line.
    for (qsizetype line = 0; line < extents.size(); ++line) {
        if (!extents[line].alignRight)
            continue;
        const qsizetype end =
            line + 1 < extents.size() ? extents[line + 1].first : layout.pieces.size();
        for (qsizetype i = extents[line].first; i < end; ++i)
            layout.pieces[i].x += layout.naturalWidth - extents[line].width;
    }
    layout.height = layout.lineTops.size() * layout.lineHeight;
    return layout;
}

void FlowPieces::setPieces(QVariantList pieces) {
    if (pieces.size() != m_pieces.size()) {
        beginResetModel();
        m_pieces = std::move(pieces);
        endResetModel();
        return;
    }
    m_pieces = std::move(pieces);
    if (!m_pieces.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_pieces.size()) - 1));
}

int FlowPieces::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_pieces.size());
}

QVariant FlowPieces::data(const QModelIndex& index, int role) const {
    if (role != Qt::UserRole || !index.isValid() || index.row() >= m_pieces.size())
        return {};
    return m_pieces[index.row()];
}

QHash<int, QByteArray> FlowPieces::roleNames() const {
    return {{Qt::UserRole, "piece"}};
}

MessageFlow::MessageFlow(QObject* parent)
    : QObject(parent) {}

template <typename T>
void MessageFlow::set(T& member, const T& value) {
    if (member == value)
        return;
    member = value;
    Q_EMIT inputChanged();
    layOut();
}

void MessageFlow::setLines(const QVariantList& lines) {
    set(m_lines, lines);
}
void MessageFlow::setWidth(qreal width) {
    set(m_width, width);
}
void MessageFlow::setTextSize(qreal size) {
    set(m_textSize, size);
}
void MessageFlow::setReadingSize(qreal size) {
    set(m_readingSize, size);
}
void MessageFlow::setLineSpacing(qreal spacing) {
    set(m_lineSpacing, spacing);
}
void MessageFlow::setReadingGap(qreal gap) {
    set(m_readingGap, gap);
}
void MessageFlow::setReadings(bool readings) {
    set(m_readings, readings);
}

void MessageFlow::componentComplete() {
    m_complete = true;
    layOut();
}

void MessageFlow::layOut() {
    if (!m_complete)
        return;
    // The fonts the bubble's Text items draw with: the application's, at these sizes.
    QFont textFont;
    textFont.setPointSizeF(m_textSize);
    QFont readingFont;
    readingFont.setPointSizeF(m_readingSize);
    const QFontMetricsF text(textFont);
    const QFontMetricsF reading(readingFont);
    FlowMetrics metrics;
    metrics.textWidth = [&](const QString& piece) { return text.horizontalAdvance(piece); };
    metrics.readingWidth = [&](const QString& piece) { return reading.horizontalAdvance(piece); };
    metrics.textHeight = text.height();
    metrics.readingHeight = reading.height();
    metrics.readingGap = m_readingGap;
    metrics.lineGap = std::max(0.0, (m_lineSpacing - 1) * m_textSize * 0.7);
    metrics.readings = m_readings;
    m_textHeight = metrics.textHeight;

    m_layout = flowMessage(messageLinesFromView(m_lines), m_width, metrics);
    const qreal textY = m_readings ? metrics.readingHeight + metrics.readingGap : 0;
    QVariantList pieces;
    pieces.reserve(m_layout.pieces.size());
    for (const PlacedPiece& placed : m_layout.pieces) {
        const MessagePiece& piece = placed.piece;
        pieces.append(QVariantMap{{QStringLiteral("text"), piece.text},
                                  {QStringLiteral("gloss"), piece.gloss},
                                  {QStringLiteral("reading"),
                                   placed.partStart == piece.start ? piece.reading : QString()},
                                  {QStringLiteral("start"), piece.start},
                                  {QStringLiteral("word"), piece.word},
                                  {QStringLiteral("link"), piece.link},
                                  {QStringLiteral("part"), placed.part},
                                  {QStringLiteral("partStart"), placed.partStart},
                                  {QStringLiteral("x"), placed.x},
                                  {QStringLiteral("y"), placed.y},
                                  {QStringLiteral("width"), placed.width},
                                  {QStringLiteral("height"), m_layout.lineHeight},
                                  {QStringLiteral("textY"), textY},
                                  {QStringLiteral("textWidth"), placed.textWidth},
                                  {QStringLiteral("readingWidth"), placed.readingWidth},
                                  {QStringLiteral("line"), placed.line},
                                  {QStringLiteral("rightToLeft"), placed.rightToLeft},
                                  {QStringLiteral("alignRight"), placed.alignRight},
                                  {QStringLiteral("shown"), placed.shown}});
    }
    m_pieces.setPieces(std::move(pieces));
    Q_EMIT laidOut();
}

} // namespace quillo
