// SPDX-License-Identifier: Apache-2.0
#include "FeedbackPrompts.h"

#include "common/JsonText.h"
#include "model/TextHelpers.h"

namespace quillo::FeedbackPrompts {

namespace {

QList<PromptMessage> pair(const QString& system, const QString& user) {
    return {{QStringLiteral("system"), system}, {QStringLiteral("user"), user}};
}

QString levelWords(CefrLevel level) {
    return QStringLiteral("CEFR ") + wireString(level);
}

} // namespace

QList<PromptMessage> correction(const CorrectionRequest& r) {
    const QString scope =
        r.scope == CorrectionLevel::Hindering
            ? QStringLiteral("Correct only mistakes that get in the way: what a native speaker "
                             "would misunderstand or stumble on. Leave small slips, style and "
                             "missing accents alone when the meaning is still clear.")
            : QStringLiteral("Correct every mistake: grammar, spelling, accents, word choice "
                             "and anything a native speaker would not say.");
    const QString system =
        QStringLiteral("You are a careful ") + r.language +
        QStringLiteral(" teacher checking one message a learner at ") + levelWords(r.level) +
        QStringLiteral(" wrote in a chat. ") + scope +
        QStringLiteral(" Keep the learner's meaning, tone and words wherever they are right; do "
                       "not rewrite for style. Write each explanation in ") +
        r.ownLanguage +
        QStringLiteral(", one short sentence the learner can follow at their level.\n"
                       "If the message is written in ") +
        r.ownLanguage + QStringLiteral(" or another language rather than ") + r.language +
        QStringLiteral(", correct nothing and name the language it is in.\n"
                       "Return JSON only, one object with exactly these keys: "
                       R"({"language":"the language the message is written in",)"
                       R"("corrected":"the whole message as it should read",)"
                       R"("edits":[{"original":"the words as written","corrected":"the words )"
                       R"(corrected","explanation":"why"}]}.)"
                       " When the message is fine, \"corrected\" is the message unchanged and "
                       "\"edits\" is [].");
    QString user;
    if (!isBlank(r.context))
        user += QStringLiteral("The chat partner had written: ") + jsonQuoted(r.context) + u'\n';
    user += QStringLiteral("The learner's message to check: ") + jsonQuoted(r.text);
    return pair(system, user);
}

QList<PromptMessage> explanation(const ExplanationRequest& r) {
    const QString system =
        QStringLiteral("You explain words of a ") + r.language +
        QStringLiteral(" chat message to a learner at ") + levelWords(r.level) +
        QStringLiteral(". Write in ") + r.ownLanguage +
        QStringLiteral(", simply enough for that level.\n"
                       "Return JSON only, one object with exactly these keys: "
                       R"({"meaning":"what the selection means in this sentence",)"
                       R"("dictionaryForm":"the form a dictionary lists it under",)"
                       R"("partOfSpeech":"what kind of word it is",)"
                       R"("grammarNote":"one short note on its form, or empty when it needs )"
                       R"(none"}.)");
    const QString user = QStringLiteral("Message: ") + jsonQuoted(r.message) +
                         QStringLiteral("\nSelection: ") + jsonQuoted(r.selection);
    return pair(system, user);
}

QList<PromptMessage> sayIt(const SayItRequest& r) {
    const QString system =
        QStringLiteral("You help a learner of ") + r.language + QStringLiteral(" at ") +
        levelWords(r.level) + QStringLiteral(" say what they mean in a chat. They write it in ") +
        r.ownLanguage +
        QStringLiteral(" or a mix of languages. Give the one sentence they would send, in ") +
        r.language +
        QStringLiteral(", natural and no harder than their level, keeping their meaning and "
                       "adding nothing. In ") +
        r.ownLanguage +
        QStringLiteral(", add a short note on any word or form in it that may be new to them, "
                       "or leave the note empty.\n"
                       "Return JSON only, one object with exactly these keys: "
                       R"({"sentence":"the sentence in )") +
        r.language + QStringLiteral(R"(","note":"the short note or empty"}.)");
    QString user;
    if (!isBlank(r.context))
        user += QStringLiteral("The chat partner had written: ") + jsonQuoted(r.context) + u'\n';
    user += QStringLiteral("What the learner means: ") + jsonQuoted(r.text);
    return pair(system, user);
}

} // namespace quillo::FeedbackPrompts
