// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace quillo {

// Most memories a contact keeps; the oldest fall away first.
inline constexpr qsizetype maxMemories = 30;

// Longest memory, in user-perceived characters.
inline constexpr qsizetype maxMemoryChars = 120;

// Avatar colours offered for contacts, in picker order; the first is the default accent.
inline QStringList botAccents() {
    return {
        QStringLiteral("#5BB6FF"), QStringLiteral("#FF9466"), QStringLiteral("#67D16E"),
        QStringLiteral("#B38BFF"), QStringLiteral("#FF7FA8"), QStringLiteral("#FFC94D"),
        QStringLiteral("#2DD4BF"), QStringLiteral("#818CF8"), QStringLiteral("#F87171"),
        QStringLiteral("#A3E635"), QStringLiteral("#E879F9"), QStringLiteral("#94A3B8"),
    };
}

inline QString defaultAccent() {
    return QStringLiteral("#5BB6FF");
}

} // namespace quillo
