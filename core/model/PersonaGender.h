// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// The gender of a contact's persona.
enum class PersonaGender { Neutral, Woman, Man };

template <>
struct EnumTraits<PersonaGender> {
    static constexpr std::array<EnumCase<PersonaGender>, 3> cases{{
        {PersonaGender::Neutral, u"NEUTRAL", u"Neutral"},
        {PersonaGender::Woman, u"WOMAN", u"Woman"},
        {PersonaGender::Man, u"MAN", u"Man"},
    }};
};

} // namespace quillo
