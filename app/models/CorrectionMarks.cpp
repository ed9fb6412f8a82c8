// SPDX-License-Identifier: Apache-2.0
#include "CorrectionMarks.h"

#include <QRegularExpression>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace quillo {

namespace {

// Past this many words on either side the table of common runs would grow too large to be
// worth it for a chat message; such a message is marked as replaced whole.
constexpr qsizetype mostWords = 300;

QStringList wordsOf(const QString& text) {
    static const QRegularExpression space(QStringLiteral("\\s+"));
    return text.split(space, Qt::SkipEmptyParts);
}

// Runs of the same change are joined into one mark, words separated by spaces.
void append(QList<CorrectionMark>& marks, const QString& word, CorrectionMark::Change change) {
    if (!marks.isEmpty() && marks.last().change == change)
        marks.last().text += u' ' + word;
    else
        marks.append({word, change});
}

} // namespace

QList<CorrectionMark> correctionMarks(const QString& written, const QString& corrected) {
    const QStringList a = wordsOf(written);
    const QStringList b = wordsOf(corrected);
    QList<CorrectionMark> marks;
    if (a.size() > mostWords || b.size() > mostWords) {
        if (!a.isEmpty())
            marks.append({a.join(u' '), CorrectionMark::Change::Removed});
        if (!b.isEmpty())
            marks.append({b.join(u' '), CorrectionMark::Change::Added});
        return marks;
    }
    // common[i][j]: the longest run of shared words in a[i..] and b[j..].
    const qsizetype n = a.size();
    const qsizetype m = b.size();
    std::vector<std::vector<int>> common(size_t(n + 1), std::vector<int>(size_t(m + 1), 0));
    for (qsizetype i = n - 1; i >= 0; --i) {
        for (qsizetype j = m - 1; j >= 0; --j)
            common[size_t(i)][size_t(j)] =
                a[i] == b[j]
                    ? common[size_t(i + 1)][size_t(j + 1)] + 1
                    : std::max(common[size_t(i + 1)][size_t(j)], common[size_t(i)][size_t(j + 1)]);
    }
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < n || j < m) {
        if (i < n && j < m && a[i] == b[j]) {
            append(marks, a[i++], CorrectionMark::Change::Kept);
            ++j;
        } else if (i < n && (j == m || common[size_t(i + 1)][size_t(j)] >=
                                           common[size_t(i)][size_t(j + 1)])) {
            append(marks, a[i++], CorrectionMark::Change::Removed);
        } else {
            append(marks, b[j++], CorrectionMark::Change::Added);
        }
    }
    return marks;
}

QVariantList correctionMarksForView(const QString& written, const QString& corrected) {
    QVariantList view;
    for (const CorrectionMark& mark : correctionMarks(written, corrected)) {
        const QString change = mark.change == CorrectionMark::Change::Kept ? QStringLiteral("kept")
                               : mark.change == CorrectionMark::Change::Removed
                                   ? QStringLiteral("removed")
                                   : QStringLiteral("added");
        view.append(
            QVariantMap{{QStringLiteral("text"), mark.text}, {QStringLiteral("change"), change}});
    }
    return view;
}

} // namespace quillo
