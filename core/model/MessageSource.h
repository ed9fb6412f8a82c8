// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// Who produced a message's text: typed by the user, canned, or a model reply. Nothing shows these
// labels.
enum class MessageSource { User, Demo, Provider };

template <>
struct EnumTraits<MessageSource> {
    static constexpr std::array<EnumCase<MessageSource>, 3> cases{{
        {MessageSource::User, u"USER", u"Typed"},
        {MessageSource::Demo, u"DEMO", u"Canned"},
        {MessageSource::Provider, u"PROVIDER", u"Model"},
    }};
};

} // namespace quillo
