// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// The appearance the user picked.
enum class ThemeChoice { System, Light, Dark };

template <>
struct EnumTraits<ThemeChoice> {
    static constexpr std::array<EnumCase<ThemeChoice>, 3> cases{{
        {ThemeChoice::System, u"SYSTEM", u"Automatic"},
        {ThemeChoice::Light, u"LIGHT", u"Light"},
        {ThemeChoice::Dark, u"DARK", u"Dark"},
    }};
};

} // namespace quillo
