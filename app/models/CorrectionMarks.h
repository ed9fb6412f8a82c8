// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>
#include <QVariantList>

namespace quillo {

// One run of a corrected sentence as the message view marks it: words kept, words the
// correction removed (struck through) and words it added (highlighted).
struct CorrectionMark {
    enum class Change { Kept, Removed, Added };
    QString text;
    Change change = Change::Kept;

    friend bool operator==(const CorrectionMark&, const CorrectionMark&) = default;
};

// The words of `written` and `corrected` lined up: the longest run of words both share stays,
// the rest of `written` is removed and the rest of `corrected` added, each removal before the
// addition that replaces it. Words are compared as written, punctuation included, so "tengo,"
// and "tengo" differ. Very long messages are compared as a whole.
QList<CorrectionMark> correctionMarks(const QString& written, const QString& corrected);

// The same as the list of {text, change: "kept" | "removed" | "added"} a QML view reads.
QVariantList correctionMarksForView(const QString& written, const QString& corrected);

} // namespace quillo
