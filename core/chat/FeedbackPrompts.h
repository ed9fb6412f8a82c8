// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/CefrLevel.h"
#include "model/Correction.h"
#include "service/PromptMessage.h"

#include <QList>

namespace quillo {

// The requests for feedback on the user's writing, each a system message with its answer contract
// and one user message with the material. Their wording is the contract with FeedbackAnswers:
// the JSON keys named here are the keys read there, so change them together.
namespace FeedbackPrompts {

// A check of one of the user's messages.
struct CorrectionRequest {
    QString text;     // what the user wrote
    QString language; // the language it should be in: the contact's, now
    CefrLevel level = CefrLevel::A1;
    QString ownLanguage; // the user's own language, for the explanations
    QString context;     // the contact's message just before it; may be empty
    // Hindering keeps to what a native speaker would misunderstand or stumble on; anything else
    // asks for every mistake.
    CorrectionLevel scope = CorrectionLevel::Every;
};

// An explanation of a passage of a contact's message.
struct ExplanationRequest {
    QString message;   // the whole message
    QString selection; // the passage asked about
    QString language;  // the language the message is in
    CefrLevel level = CefrLevel::A1;
    QString ownLanguage;
};

// What the user means, to be said in the contact's language.
struct SayItRequest {
    QString text; // in the user's own language, or a mix
    QString language;
    CefrLevel level = CefrLevel::A1;
    QString ownLanguage;
    QString context; // the contact's newest message; may be empty
};

QList<PromptMessage> correction(const CorrectionRequest& request);
QList<PromptMessage> explanation(const ExplanationRequest& request);
QList<PromptMessage> sayIt(const SayItRequest& request);

// Completion tokens and temperature of every feedback request: the answers are short JSON, and
// a correction is no place for invention.
constexpr int maxTokens = 400;
constexpr double temperature = 0.2;

} // namespace FeedbackPrompts

} // namespace quillo
