// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WireEnum.h"

namespace quillo {

// How a contact talks. `guidance` is the phrase the prompt puts after the style's title.
enum class ConversationStyle {
    Friend,
    VeryFriendly,
    Casual,
    UltraCasual,
    Chill,
    Playful,
    Funny,
    Curious,
    Supportive,
    Concise,
    Polite,
    Formal,
    Teacher,
    Kid,
    Flirty,
};

template <>
struct EnumTraits<ConversationStyle> {
    using S = ConversationStyle;
    static constexpr std::array<EnumCase<S>, 15> cases{{
        {S::Friend, u"FRIEND", u"Friend"},
        {S::VeryFriendly, u"VERY_FRIENDLY", u"Very friendly"},
        {S::Casual, u"CASUAL", u"Casual"},
        {S::UltraCasual, u"ULTRA_CASUAL", u"Ultra casual"},
        {S::Chill, u"CHILL", u"Chill"},
        {S::Playful, u"PLAYFUL", u"Playful"},
        {S::Funny, u"FUNNY", u"Funny"},
        {S::Curious, u"CURIOUS", u"Curious"},
        {S::Supportive, u"SUPPORTIVE", u"Supportive"},
        {S::Concise, u"CONCISE", u"Concise"},
        {S::Polite, u"POLITE", u"Polite"},
        {S::Formal, u"FORMAL", u"Formal"},
        {S::Teacher, u"TEACHER", u"Teacher"},
        {S::Kid, u"KID", u"Kid"},
        {S::Flirty, u"FLIRTY", u"Flirty"},
    }};
};

QString guidance(ConversationStyle style);

} // namespace quillo
