// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// The user's age group; under-18 users never get a flirty contact.
enum class UserAgeGroup { Under18, Adult };

template <>
struct EnumTraits<UserAgeGroup> {
    static constexpr std::array<EnumCase<UserAgeGroup>, 2> cases{{
        {UserAgeGroup::Under18, u"UNDER_18", u"Under 18"},
        {UserAgeGroup::Adult, u"ADULT", u"18+"},
    }};
};

} // namespace quillo
