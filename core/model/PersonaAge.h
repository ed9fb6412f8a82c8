// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// The age of a contact's persona.
enum class PersonaAge { Child, Teen, YoungAdult, Adult, Mature };

template <>
struct EnumTraits<PersonaAge> {
    static constexpr std::array<EnumCase<PersonaAge>, 5> cases{{
        {PersonaAge::Child, u"CHILD", u"Child"},
        {PersonaAge::Teen, u"TEEN", u"Teen"},
        {PersonaAge::YoungAdult, u"YOUNG_ADULT", u"Young adult"},
        {PersonaAge::Adult, u"ADULT", u"Adult"},
        {PersonaAge::Mature, u"MATURE", u"Mature"},
    }};
};

} // namespace quillo
