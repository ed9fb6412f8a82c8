// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MessageLines.h"

#include <QAbstractListModel>
#include <QFont>
#include <QObject>
#include <QQmlParserStatus>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace quillo {

// How big the pieces of a message are: the width of a word and of a reading, the height of
// their rows. The view measures with its fonts; tests with fixed sizes.
struct FlowMetrics {
    std::function<qreal(const QString&)> textWidth;
    std::function<qreal(const QString&)> readingWidth;
    qreal textHeight = 0;
    qreal readingHeight = 0;
    qreal readingGap = 0;
    // Space under each line, over the text's own height.
    qreal lineGap = 0;
    // Whether a reading row stands over every line.
    bool readings = false;
};

// One piece of a message placed on its line, or part of a piece when a word or an address is
// wider than a line and has to be broken between its characters.
struct PlacedPiece {
    MessagePiece piece;
    QString part;         // what is drawn: the piece's text or a part of it
    qint64 partStart = 0; // UTF-16 offset of the part in the message
    qreal x = 0;          // from the left of the widest line
    qreal y = 0;          // top of its line, reading row included
    qreal width = 0;      // the wider of the part and its reading
    qreal textWidth = 0;
    qreal readingWidth = 0;
    int line = 0;
    bool rightToLeft = false; // drawn right to left (an odd bidi level)
    bool alignRight = false;  // its paragraph runs right to left, so its lines align right
    bool shown = true;        // false for the spaces that hang past a line's end
};

struct MessageFlowLayout {
    QList<PlacedPiece> pieces; // in the text's order
    QList<qreal> lineTops;
    qreal lineHeight = 0;
    qreal naturalWidth = 0; // the widest line
    qreal height = 0;
    bool rightToLeft = false; // the message's first strong character is right to left
};

// Flows a message's lines into `width`: each hard line is a paragraph with the direction of
// its first strong character (the message's, when it has none), broken where the language
// allows a line to break, each line's pieces put in visual order by their bidi levels. A word
// or address wider than a line is broken between its graphemes.
MessageFlowLayout flowMessage(const QList<QList<MessagePiece>>& lines, qreal width,
                              const FlowMetrics& metrics);

// The placed pieces of a message for a Repeater, each as the role "piece". A new layout with
// as many pieces changes them in place, so the items drawing them (and the one under the
// pointer) stay.
class FlowPieces : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

public:
    using QAbstractListModel::QAbstractListModel;

    void setPieces(QVariantList pieces);
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    QVariantList m_pieces;
};

// The flow for a message bubble: give it the message's lines and the width and type sizes the
// view uses; read where each piece goes.
class MessageFlow : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QVariantList lines MEMBER m_lines WRITE setLines NOTIFY inputChanged)
    Q_PROPERTY(qreal width MEMBER m_width WRITE setWidth NOTIFY inputChanged)
    // In points, as the view's Text items take them.
    Q_PROPERTY(qreal textSize MEMBER m_textSize WRITE setTextSize NOTIFY inputChanged)
    Q_PROPERTY(qreal readingSize MEMBER m_readingSize WRITE setReadingSize NOTIFY inputChanged)
    Q_PROPERTY(qreal lineSpacing MEMBER m_lineSpacing WRITE setLineSpacing NOTIFY inputChanged)
    Q_PROPERTY(qreal readingGap MEMBER m_readingGap WRITE setReadingGap NOTIFY inputChanged)
    Q_PROPERTY(bool readings MEMBER m_readings WRITE setReadings NOTIFY inputChanged)
    // Each piece as {text, gloss, reading, start, word, link, part, partStart, x, y, width,
    // height, textY, textWidth, readingWidth, line, rightToLeft, alignRight, shown}.
    Q_PROPERTY(quillo::FlowPieces* pieces READ pieces CONSTANT)
    Q_PROPERTY(qreal naturalWidth READ naturalWidth NOTIFY laidOut)
    Q_PROPERTY(qreal height READ height NOTIFY laidOut)
    Q_PROPERTY(qreal textHeight READ textHeight NOTIFY laidOut)
    Q_PROPERTY(bool rightToLeft READ rightToLeft NOTIFY laidOut)

public:
    explicit MessageFlow(QObject* parent = nullptr);

    void setLines(const QVariantList& lines);
    void setWidth(qreal width);
    void setTextSize(qreal size);
    void setReadingSize(qreal size);
    void setLineSpacing(qreal spacing);
    void setReadingGap(qreal gap);
    void setReadings(bool readings);

    FlowPieces* pieces() { return &m_pieces; }
    qreal naturalWidth() const { return m_layout.naturalWidth; }
    qreal height() const { return m_layout.height; }
    qreal textHeight() const { return m_textHeight; }
    bool rightToLeft() const { return m_layout.rightToLeft; }

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void inputChanged();
    void laidOut();

private:
    template <typename T>
    void set(T& member, const T& value);
    void layOut();

    QVariantList m_lines;
    qreal m_width = 0;
    qreal m_textSize = 16;
    qreal m_readingSize = 10.5;
    qreal m_lineSpacing = 1.45;
    qreal m_readingGap = 1;
    bool m_readings = false;
    bool m_complete = false;

    MessageFlowLayout m_layout;
    FlowPieces m_pieces;
    qreal m_textHeight = 0;
};

} // namespace quillo
