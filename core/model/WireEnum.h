// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>
#include <string_view>

namespace quillo {

// One case of an enumeration that travels as an upper-case wire string ("VERY_FRIENDLY").
template <typename E>
struct EnumCase {
    E value;
    std::u16string_view wire;
    std::u16string_view title;
};

// Specialised by every wire enumeration with `static constexpr std::array<EnumCase<E>, N> cases`,
// listed in declaration order: that order is `allCases`, which every picker shows.
template <typename E>
struct EnumTraits;

template <typename E>
concept WireEnumeration = requires {
    EnumTraits<E>::cases;
};

template <WireEnumeration E>
constexpr auto allCases() {
    constexpr auto& cases = EnumTraits<E>::cases;
    std::array<E, cases.size()> values{};
    for (std::size_t i = 0; i < cases.size(); ++i)
        values[i] = cases[i].value;
    return values;
}

namespace detail {
template <WireEnumeration E>
constexpr const EnumCase<E>& caseOf(E value) {
    for (const auto& c : EnumTraits<E>::cases) {
        if (c.value == value)
            return c;
    }
    return EnumTraits<E>::cases.front(); // unreachable for a valid enumerator
}

inline QString toQString(std::u16string_view text) {
    return QString(reinterpret_cast<const QChar*>(text.data()), qsizetype(text.size()));
}
} // namespace detail

// The JSON value and `id` of a case.
template <WireEnumeration E>
QString wireString(E value) {
    return detail::toQString(detail::caseOf(value).wire);
}

// What the user interface shows for a case.
template <WireEnumeration E>
QString title(E value) {
    return detail::toQString(detail::caseOf(value).title);
}

template <WireEnumeration E>
std::optional<E> fromWireString(QStringView wire) {
    for (const auto& c : EnumTraits<E>::cases) {
        if (wire == QStringView(c.wire.data(), qsizetype(c.wire.size())))
            return c.value;
    }
    return std::nullopt;
}

} // namespace quillo
