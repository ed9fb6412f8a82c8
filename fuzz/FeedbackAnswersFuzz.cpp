// SPDX-License-Identifier: Apache-2.0
// Any completion text as the answer to a check, an explanation or a sentence to say: the readers
// never crash, and what they give keeps their promises: a correction has a message and edits with
// both their words and no edit at all when it leaves the message as it was; an explanation has a
// meaning and a sentence has its text; and each survives the trip through its stored form.
#include "chat/FeedbackAnswers.h"
#include "model/TextHelpers.h"

#include <cstdint>
#include <cstdlib>

using namespace quillo;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString raw = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString text = QStringLiteral("Yo soy cansado");

    if (const auto found = FeedbackAnswers::correction(raw, text)) {
        require(!found->corrected.isEmpty());
        if (found->corrected == text)
            require(found->edits.isEmpty());
        for (const CorrectionEdit& edit : found->edits)
            require(!edit.original.isEmpty() && edit.original != edit.corrected);
        const auto back = Correction::fromJson(found->toJson());
        require(back.ok() && *back == *found);
    }
    if (const auto found = FeedbackAnswers::explanation(raw)) {
        require(!isBlank(found->meaning));
        const auto back = Explanation::fromJson(found->toJson());
        require(back.ok() && *back == *found);
    }
    if (const auto found = FeedbackAnswers::sayIt(raw))
        require(!isBlank(found->sentence));
    return 0;
}
