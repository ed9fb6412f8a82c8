// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Correction.h"
#include "model/Explanation.h"

#include <optional>

namespace quillo {

// A sentence the user may send, with a note on what in it may be new to them.
struct SayItAnswer {
    QString sentence;
    QString note;

    QJsonObject toJson() const;
    friend bool operator==(const SayItAnswer&, const SayItAnswer&) = default;
};

// Reads the model's answers to the feedback requests as forgivingly as replies are read (code
// fences, reasoning blocks, the JSON5 forms of small models, talk around the object), but never
// makes anything up: an answer without the object the request asked for gives nothing.
namespace FeedbackAnswers {

// The check of `text`. A blank "corrected" with no edits stands for the text itself; edits that
// do not have both their words are left out. `checkedAt` stays 0 for the caller to set.
std::optional<Correction> correction(const QString& raw, const QString& text);

// Needs a non-blank "meaning".
std::optional<Explanation> explanation(const QString& raw);

// Needs a non-blank "sentence".
std::optional<SayItAnswer> sayIt(const QString& raw);

} // namespace FeedbackAnswers

} // namespace quillo
