// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>

namespace quillo {

// The reading of a piece of text in Latin letters, for languages not written in them.
namespace Romanizer {

// The reading, trimmed; nothing for a language without readings, or when the result would not
// help (empty, unchanged, or still holding ideographs).
std::optional<QString> romanize(const QString& text, const QString& language);

} // namespace Romanizer

} // namespace quillo
