// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace quillo {

// A stretch of text in UTF-16 code units, the unit QString counts in.
struct TextRange {
    qint64 location = 0;
    qint64 length = 0;

    qint64 end() const { return location + length; }

    friend bool operator==(const TextRange&, const TextRange&) = default;
};

// Words of a text, as ICU's word break iterator finds them for the language the user practises
// (dictionary segmentation for Chinese, Japanese and Thai, which write no spaces).
namespace WordBreaks {

// Every token in text order, punctuation included, white space left out.
QList<TextRange> ranges(const QString& text, const QString& language);

// The tokens that hold a letter or a number, in text order; repeated words stay repeated.
QStringList words(const QString& text, const QString& language);

// Whether any character of `piece` is a letter or a number (Unicode properties).
bool hasLetterOrNumber(QStringView piece);

} // namespace WordBreaks

} // namespace quillo
