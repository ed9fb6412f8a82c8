// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QLocale>
#include <QString>

#include <optional>

namespace quillo {

// The recogniser's locale for a language name, or none: the language's code from the
// translator's table, then the first of these that the recogniser supports (same language and
// same region): the code in the user's own region when the user's locale speaks that language,
// the code as given when it names a region ("zh-TW"), the code in its most common region, and
// lastly any supported locale of that language.
std::optional<QLocale> speechLocale(const QString& language, const QList<QLocale>& supported,
                                    const QLocale& current = QLocale::system());

} // namespace quillo
