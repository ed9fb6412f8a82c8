// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// A level of the Common European Framework. The wire string is also the label.
enum class CefrLevel { A1, A2, B1, B2, C1, C2 };

template <>
struct EnumTraits<CefrLevel> {
    static constexpr std::array<EnumCase<CefrLevel>, 6> cases{{
        {CefrLevel::A1, u"A1", u"A1"},
        {CefrLevel::A2, u"A2", u"A2"},
        {CefrLevel::B1, u"B1", u"B1"},
        {CefrLevel::B2, u"B2", u"B2"},
        {CefrLevel::C1, u"C1", u"C1"},
        {CefrLevel::C2, u"C2", u"C2"},
    }};
};

} // namespace quillo
