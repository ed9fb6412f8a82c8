// SPDX-License-Identifier: Apache-2.0
#include "models/MessageLines.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

MessageLayout laidOut(const QString& text, const QString& language, bool readings,
                      QList<WordGloss> glosses = {}) {
    return layOutMessage({text, std::move(glosses), language, readings});
}

// The text the pieces stand for, lines joined again.
QString joined(const QList<QList<MessagePiece>>& lines) {
    QStringList texts;
    for (const auto& line : lines) {
        QString text;
        for (const MessagePiece& piece : line)
            text += piece.text;
        texts.append(text);
    }
    return texts.join(u'\n');
}

QStringList words(const QList<QList<MessagePiece>>& lines) {
    QStringList found;
    for (const auto& line : lines) {
        for (const MessagePiece& piece : line) {
            if (piece.word)
                found.append(piece.text);
        }
    }
    return found;
}

} // namespace

TEST(MessageLines, PiecesStandForTheWholeTextWithPunctuationAndLineBreaks) {
    const QString japanese = QStringLiteral("すごい！ありがとう、たのしみ。\n\nいつ行きますか？");
    const auto lines = messageLines(japanese, laidOut(japanese, QStringLiteral("Japanese"), true));
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[1].isEmpty()) << "a blank line stays a line";
    EXPECT_EQ(joined(lines), japanese);
    EXPECT_TRUE(words(lines).contains(QStringLiteral("ありがとう")));
    EXPECT_FALSE(words(lines).contains(QStringLiteral("！")));

    const QString spanish = QStringLiteral("  ¡Hola, Ana!  ¿Qué tal?  ");
    const auto spanishLines =
        messageLines(spanish, laidOut(spanish, QStringLiteral("Spanish"), false));
    EXPECT_EQ(joined(spanishLines), spanish);
    EXPECT_EQ(words(spanishLines), (QStringList{QStringLiteral("Hola"), QStringLiteral("Ana"),
                                                QStringLiteral("Qué"), QStringLiteral("tal")}));
    // Offsets point back into the text, in UTF-16 units, emoji included.
    const QString emoji = QStringLiteral("😀 casa");
    for (const auto& line : messageLines(emoji, laidOut(emoji, QStringLiteral("Spanish"), false))) {
        for (const MessagePiece& piece : line)
            EXPECT_EQ(emoji.mid(piece.start, piece.text.size()), piece.text);
    }
}

TEST(MessageLines, WordsCarryTheirGlossAndReading) {
    const QString text = QStringLiteral("Привет, друг!");
    const auto lines =
        messageLines(text, laidOut(text, QStringLiteral("Russian"), true,
                                   {{QStringLiteral("друг"), QStringLiteral("friend")}}));
    ASSERT_EQ(lines.size(), 1);
    QHash<QString, MessagePiece> byText;
    for (const MessagePiece& piece : lines[0])
        byText.insert(piece.text, piece);
    EXPECT_EQ(byText.value(QStringLiteral("друг")).gloss, u"friend");
    EXPECT_EQ(byText.value(QStringLiteral("друг")).reading, u"drug");
    EXPECT_EQ(byText.value(QStringLiteral("Привет")).reading, u"Privet");
    EXPECT_TRUE(byText.value(QStringLiteral("Привет")).gloss.isEmpty());
    EXPECT_TRUE(byText.value(QStringLiteral(", ")).reading.isEmpty());

    // Without the reading line no piece has a reading.
    const auto plain = messageLines(text, laidOut(text, QStringLiteral("Russian"), false));
    for (const MessagePiece& piece : plain.first())
        EXPECT_TRUE(piece.reading.isEmpty()) << piece.text.toStdString();
}

TEST(MessageLines, AWebAddressIsOnePieceWithoutTheSentencesPunctuation) {
    const QString text = QStringLiteral("Mira https://es.wikipedia.org/wiki/Tapas_(comida). Y "
                                        "(www.ejemplo.es/carta), ¿vale? http://");
    const auto lines = messageLines(text, laidOut(text, QStringLiteral("Spanish"), false));
    EXPECT_EQ(joined(lines), text);
    QStringList links;
    for (const MessagePiece& piece : lines.first()) {
        if (piece.link) {
            EXPECT_FALSE(piece.word);
            EXPECT_EQ(text.mid(piece.start, piece.text.size()), piece.text);
            links.append(piece.text);
        }
    }
    EXPECT_EQ(links, (QStringList{QStringLiteral("https://es.wikipedia.org/wiki/Tapas_(comida)"),
                                  QStringLiteral("www.ejemplo.es/carta")}));
    // The words of an address are not words of the message; "http://" alone is no address.
    EXPECT_EQ(words(lines), (QStringList{QStringLiteral("Mira"), QStringLiteral("Y"),
                                         QStringLiteral("vale"), QStringLiteral("http")}));

    // Japanese runs on after an address without a space.
    const QString japanese = QStringLiteral("見てhttps://example.jp/aです。");
    const auto japaneseLines =
        messageLines(japanese, laidOut(japanese, QStringLiteral("Japanese"), false));
    QStringList japaneseLinks;
    for (const MessagePiece& piece : japaneseLines.first()) {
        if (piece.link)
            japaneseLinks.append(piece.text);
    }
    EXPECT_EQ(japaneseLinks, QStringList{QStringLiteral("https://example.jp/a")});

    // What the view reads gives back the same pieces.
    EXPECT_EQ(messageLinesFromView(
                  messageLinesForView(text, laidOut(text, QStringLiteral("Spanish"), false))),
              lines);
}
