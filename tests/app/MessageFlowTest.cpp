// SPDX-License-Identifier: Apache-2.0
#include "models/MessageFlow.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace quillo;

namespace {

// Every UTF-16 unit 10 px wide, a reading's 6 px: sizes a test can count.
FlowMetrics fixedMetrics(bool readings = false) {
    FlowMetrics metrics;
    metrics.textWidth = [](const QString& text) { return 10.0 * text.size(); };
    metrics.readingWidth = [](const QString& text) { return 6.0 * text.size(); };
    metrics.textHeight = 20;
    metrics.readingHeight = 12;
    metrics.readingGap = 1;
    metrics.lineGap = 4;
    metrics.readings = readings;
    return metrics;
}

MessageFlowLayout flowed(const QString& text, const QString& language, qreal width,
                         bool readings = false) {
    const MessageLayout layout = layOutMessage({text, {}, language, readings});
    return flowMessage(messageLines(text, layout), width, fixedMetrics(readings));
}

const PlacedPiece* pieceOf(const MessageFlowLayout& layout, const QString& text) {
    for (const PlacedPiece& placed : layout.pieces) {
        if (placed.part == text)
            return &placed;
    }
    return nullptr;
}

// The words of one line as they stand from left to right.
QStringList wordsLeftToRight(const MessageFlowLayout& layout, int line = 0) {
    QList<const PlacedPiece*> words;
    for (const PlacedPiece& placed : layout.pieces) {
        if (placed.line == line && placed.piece.word)
            words.append(&placed);
    }
    std::sort(words.begin(), words.end(),
              [](const PlacedPiece* a, const PlacedPiece* b) { return a->x < b->x; });
    QStringList texts;
    for (const PlacedPiece* word : words)
        texts.append(word->part);
    return texts;
}

int lineCount(const MessageFlowLayout& layout) {
    return int(layout.lineTops.size());
}

// What each line shows, its pieces in the text's order.
QStringList lineTexts(const MessageFlowLayout& layout) {
    QStringList lines(lineCount(layout));
    for (const PlacedPiece& placed : layout.pieces) {
        if (placed.shown)
            lines[placed.line] += placed.part;
    }
    return lines;
}

// No two pieces of a line overlap, none leaves the width, and a line's pieces touch.
void expectTiled(const MessageFlowLayout& layout, qreal width) {
    for (int line = 0; line < lineCount(layout); ++line) {
        QList<const PlacedPiece*> shown;
        for (const PlacedPiece& placed : layout.pieces) {
            if (placed.line == line && placed.shown)
                shown.append(&placed);
        }
        std::sort(shown.begin(), shown.end(),
                  [](const PlacedPiece* a, const PlacedPiece* b) { return a->x < b->x; });
        for (qsizetype i = 0; i < shown.size(); ++i) {
            EXPECT_GE(shown[i]->x, -0.001) << shown[i]->part.toStdString();
            EXPECT_LE(shown[i]->x + shown[i]->width, width + 0.001) << shown[i]->part.toStdString();
            if (i > 0) {
                EXPECT_DOUBLE_EQ(shown[i - 1]->x + shown[i - 1]->width, shown[i]->x)
                    << "gap before " << shown[i]->part.toStdString();
            }
        }
    }
}

} // namespace

TEST(MessageFlow, RightToLeftMessagesRunFromTheRightEdge) {
    // Arabic: the first word rightmost, the comma on the left of the word it follows, the
    // question mark at the far left, the line against the right edge.
    const QString arabic = QStringLiteral("مرحبا يا صديقي، كيف حالك؟");
    const MessageFlowLayout layout = flowed(arabic, QStringLiteral("Arabic"), 1000);
    EXPECT_TRUE(layout.rightToLeft);
    ASSERT_EQ(lineCount(layout), 1);
    EXPECT_EQ(wordsLeftToRight(layout),
              (QStringList{QStringLiteral("حالك"), QStringLiteral("كيف"), QStringLiteral("صديقي"),
                           QStringLiteral("يا"), QStringLiteral("مرحبا")}));
    const PlacedPiece* first = pieceOf(layout, QStringLiteral("مرحبا"));
    ASSERT_TRUE(first);
    EXPECT_DOUBLE_EQ(first->x + first->width, layout.naturalWidth);
    EXPECT_TRUE(first->alignRight);
    EXPECT_TRUE(first->rightToLeft);
    const PlacedPiece* comma = pieceOf(layout, QStringLiteral("،"));
    ASSERT_TRUE(comma);
    EXPECT_DOUBLE_EQ(comma->x + comma->width, pieceOf(layout, QStringLiteral("صديقي"))->x);
    const PlacedPiece* question = pieceOf(layout, QStringLiteral("؟"));
    ASSERT_TRUE(question);
    EXPECT_DOUBLE_EQ(question->x, 0);
    expectTiled(layout, 1000);

    // Wrapped, every line of it stands against the right edge, the first words on top.
    const MessageFlowLayout narrow = flowed(arabic, QStringLiteral("Arabic"), 120);
    ASSERT_GT(lineCount(narrow), 1);
    EXPECT_EQ(wordsLeftToRight(narrow, 0).last(), QStringLiteral("مرحبا"));
    for (const PlacedPiece& placed : narrow.pieces) {
        if (placed.shown && placed.piece.word) {
            // The last piece of each line on the right reaches the widest line's edge.
            const bool rightmost = std::none_of(
                narrow.pieces.begin(), narrow.pieces.end(), [&](const PlacedPiece& other) {
                    return other.shown && other.line == placed.line && other.x > placed.x;
                });
            if (rightmost) {
                EXPECT_DOUBLE_EQ(placed.x + placed.width, narrow.naturalWidth);
            }
        }
    }
    expectTiled(narrow, 120);
}

TEST(MessageFlow, MixedDirectionsKeepEachRunsOwnOrder) {
    // A Latin name inside Hebrew: the name's words read left to right where the name
    // stands, within a line that reads right to left.
    const QString hebrew = QStringLiteral("שלום Ana Maria, מה שלומך?");
    const MessageFlowLayout layout = flowed(hebrew, QStringLiteral("Hebrew"), 1000);
    EXPECT_TRUE(layout.rightToLeft);
    EXPECT_EQ(wordsLeftToRight(layout),
              (QStringList{QStringLiteral("שלומך"), QStringLiteral("מה"), QStringLiteral("Ana"),
                           QStringLiteral("Maria"), QStringLiteral("שלום")}));
    EXPECT_FALSE(pieceOf(layout, QStringLiteral("Ana"))->rightToLeft);
    // The comma after the name belongs to the Hebrew around it: it follows the name
    // leftwards, so it stands against the name's left end.
    EXPECT_DOUBLE_EQ(pieceOf(layout, QStringLiteral(","))->x +
                         pieceOf(layout, QStringLiteral(","))->width,
                     pieceOf(layout, QStringLiteral("Ana"))->x);
    expectTiled(layout, 1000);

    // An Arabic phrase inside English: the phrase's words right to left, the line left to
    // right from the left edge.
    const QString english = QStringLiteral("He said أهلا وسهلا بك to me.");
    const MessageFlowLayout mixed = flowed(english, QStringLiteral("English"), 1000);
    EXPECT_FALSE(mixed.rightToLeft);
    EXPECT_EQ(wordsLeftToRight(mixed),
              (QStringList{QStringLiteral("He"), QStringLiteral("said"), QStringLiteral("بك"),
                           QStringLiteral("وسهلا"), QStringLiteral("أهلا"), QStringLiteral("to"),
                           QStringLiteral("me")}));
    EXPECT_DOUBLE_EQ(pieceOf(mixed, QStringLiteral("He"))->x, 0);
    EXPECT_FALSE(pieceOf(mixed, QStringLiteral("He"))->alignRight);
    expectTiled(mixed, 1000);

    // Each hard line takes its own direction: an English line under an Arabic one.
    const QString twoLines = QStringLiteral("مرحبا\nhello there");
    const MessageFlowLayout both = flowed(twoLines, QStringLiteral("Arabic"), 1000);
    EXPECT_TRUE(pieceOf(both, QStringLiteral("مرحبا"))->alignRight);
    EXPECT_FALSE(pieceOf(both, QStringLiteral("hello"))->alignRight);
    EXPECT_EQ(wordsLeftToRight(both, 1),
              (QStringList{QStringLiteral("hello"), QStringLiteral("there")}));
}

TEST(MessageFlow, LinesBreakWhereTheLanguageBreaksThem) {
    // At every width, no line starts with punctuation or a space, nothing leaves the width,
    // and the text is all there.
    const QString spanish =
        QStringLiteral("¡Hola, Ana! ¿Qué tal, peras y manzanas? «Bien», dijo; sí: claro…");
    const QString opening = QStringLiteral("¡¿«");
    for (qreal width = 90; width <= 400; width += 10) {
        const MessageFlowLayout layout = flowed(spanish, QStringLiteral("Spanish"), width);
        QString all;
        for (const PlacedPiece& placed : layout.pieces)
            all += placed.part;
        EXPECT_EQ(all, spanish);
        for (const QString& line : lineTexts(layout)) {
            ASSERT_FALSE(line.isEmpty());
            const QChar first = line.front();
            EXPECT_TRUE(first.isLetter() || opening.contains(first))
                << "width " << width << ": \"" << line.toStdString() << '"';
        }
        expectTiled(layout, width);
    }

    // Chinese breaks between characters, never before its closing punctuation.
    const QString chinese = QStringLiteral("我们明天去北京看看长城，好不好？你觉得呢。");
    const MessageFlowLayout layout = flowed(chinese, QStringLiteral("Chinese"), 60);
    EXPECT_GE(lineCount(layout), 4);
    for (const QString& line : lineTexts(layout)) {
        EXPECT_FALSE(QStringLiteral("，？。").contains(line.front())) << line.toStdString();
        EXPECT_LE(line.size(), 6);
    }
    expectTiled(layout, 60);
}

TEST(MessageFlow, WordsAndAddressesWiderThanALineBreakBetweenCharacters) {
    const QString text = QStringLiteral("Mira https://example.org/a/very/long/path/that/goes/on y "
                                        "supercalifragilísticoespialidoso fin");
    const MessageFlowLayout layout = flowed(text, QStringLiteral("Spanish"), 120);
    expectTiled(layout, 120);
    QString address;
    QString word;
    for (const PlacedPiece& placed : layout.pieces) {
        if (placed.piece.link) {
            EXPECT_EQ(placed.piece.text,
                      QStringLiteral("https://example.org/a/very/long/path/that/goes/on"));
            address += placed.part;
        }
        if (placed.piece.text == u"supercalifragilísticoespialidoso") {
            EXPECT_TRUE(placed.piece.word);
            EXPECT_EQ(text.mid(placed.partStart, placed.part.size()), placed.part);
            word += placed.part;
        }
    }
    EXPECT_EQ(address, QStringLiteral("https://example.org/a/very/long/path/that/goes/on"));
    EXPECT_EQ(word, QStringLiteral("supercalifragilísticoespialidoso"));
    // "Mira" keeps its own line rather than a sliver of the address beside it: the address
    // starts a line.
    EXPECT_EQ(lineTexts(layout).first(), QStringLiteral("Mira"));

    // Before the view knows its width, nothing is broken up.
    EXPECT_EQ(lineCount(flowed(text, QStringLiteral("Spanish"), 0)), 1);

    // A combining accent stays with its letter across the break.
    const QString combining = QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301");
    const MessageFlowLayout accents = flowed(combining, QStringLiteral("Spanish"), 50);
    for (const PlacedPiece& placed : accents.pieces)
        EXPECT_NE(placed.part.front(), QChar(0x0301));
}

TEST(MessageFlow, ReadingsStandOverTheirWords) {
    // A reading wider than its word widens the word's place, so that the next piece never
    // sits under it; a blank line keeps its height.
    const QString russian = QStringLiteral("Хочу щи.\n\nСпасибо");
    const MessageFlowLayout layout = flowed(russian, QStringLiteral("Russian"), 1000, true);
    ASSERT_EQ(lineCount(layout), 3);
    EXPECT_DOUBLE_EQ(layout.lineHeight, 12 + 1 + 20 + 4);
    EXPECT_DOUBLE_EQ(layout.height, 3 * layout.lineHeight);
    const PlacedPiece* soup = pieceOf(layout, QStringLiteral("щи"));
    ASSERT_TRUE(soup);
    EXPECT_EQ(soup->piece.reading, QStringLiteral("shchi"));
    EXPECT_DOUBLE_EQ(soup->textWidth, 20);
    EXPECT_DOUBLE_EQ(soup->readingWidth, 30);
    EXPECT_DOUBLE_EQ(soup->width, 30);
    EXPECT_DOUBLE_EQ(pieceOf(layout, QStringLiteral("."))->x, soup->x + 30);
    EXPECT_DOUBLE_EQ(pieceOf(layout, QStringLiteral("Спасибо"))->y, 2 * layout.lineHeight);
    expectTiled(layout, 1000);
}
