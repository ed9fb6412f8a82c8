// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// How long a contact's replies are. The same table gives the prompt's length instruction,
// the completion token budget and the line cap of a parsed reply.
enum class ReplyLength { Short, Medium, Long, Chatty };

template <>
struct EnumTraits<ReplyLength> {
    static constexpr std::array<EnumCase<ReplyLength>, 4> cases{{
        {ReplyLength::Short, u"SHORT", u"Short"},
        {ReplyLength::Medium, u"MEDIUM", u"Medium"},
        {ReplyLength::Long, u"LONG", u"Long"},
        {ReplyLength::Chatty, u"CHATTY", u"Chatty"},
    }};
};

// Completion tokens asked of the model for a reply of this length.
int maxTokens(ReplyLength length);

// Most lines a reply of this length may have. Short and medium share 2 on purpose: medium
// lines carry more detail, not more lines.
int maxLines(ReplyLength length);

// The sentence that tells the model how long to write.
QString promptInstruction(ReplyLength length);

} // namespace quillo
