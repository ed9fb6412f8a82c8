// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// Who wrote a message: the user, or a contact (assistant). Nothing shows these labels.
enum class MessageRole { User, Assistant };

template <>
struct EnumTraits<MessageRole> {
    static constexpr std::array<EnumCase<MessageRole>, 2> cases{{
        {MessageRole::User, u"USER", u"User"},
        {MessageRole::Assistant, u"ASSISTANT", u"Contact"},
    }};
};

} // namespace quillo
