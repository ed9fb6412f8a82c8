// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/WireEnum.h"

#include <QStringList>

namespace quillo {

// The titles of an enumeration's cases, in picker order; a picker's index is the case's index.
template <WireEnumeration E>
QStringList titlesOf() {
    QStringList titles;
    for (const auto& c : EnumTraits<E>::cases)
        titles.append(detail::toQString(c.title));
    return titles;
}

template <WireEnumeration E>
int indexOf(E value) {
    const auto& cases = EnumTraits<E>::cases;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        if (cases[i].value == value)
            return int(i);
    }
    return 0;
}

// The case at a picker index; out of range keeps `fallback`.
template <WireEnumeration E>
E caseAt(int index, E fallback) {
    const auto& cases = EnumTraits<E>::cases;
    return index >= 0 && std::size_t(index) < cases.size() ? cases[std::size_t(index)].value
                                                           : fallback;
}

} // namespace quillo
