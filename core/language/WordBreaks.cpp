// SPDX-License-Identifier: Apache-2.0
#include "WordBreaks.h"

#include "model/Languages.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <array>
#include <limits>
#include <memory>

namespace quillo::WordBreaks {

namespace {

// The locale hints given to ICU. Its dictionaries split Chinese, Japanese and Thai runs
// whatever the locale; the hint picks up any tailoring for the practised language.
enum class Hint { None, SimplifiedChinese, Japanese, Korean, Thai, Count };

Hint hintFor(const QString& language) {
    const QString key = languageKey(language);
    // Always the Simplified Chinese hint, whatever the script, and none for "cantonese":
    // this matches how the app has always split Chinese.
    if (key == u"chinese")
        return Hint::SimplifiedChinese;
    if (key == u"japanese")
        return Hint::Japanese;
    if (key == u"korean")
        return Hint::Korean;
    if (key == u"thai")
        return Hint::Thai;
    return Hint::None;
}

icu::Locale localeFor(Hint hint) {
    switch (hint) {
    case Hint::SimplifiedChinese:
        return icu::Locale::createFromName("zh_Hans");
    case Hint::Japanese:
        return icu::Locale::createFromName("ja");
    case Hint::Korean:
        return icu::Locale::createFromName("ko");
    case Hint::Thai:
        return icu::Locale::createFromName("th");
    case Hint::None:
    case Hint::Count:
        break;
    }
    return icu::Locale::getRoot();
}

// Building an iterator loads rules and dictionaries, which costs more than breaking a message.
// ICU iterators carry the text they walk, so each thread keeps its own; no result is kept.
icu::BreakIterator* iteratorFor(Hint hint) {
    thread_local std::array<std::unique_ptr<icu::BreakIterator>, size_t(Hint::Count)> cache;
    auto& slot = cache[size_t(hint)];
    if (!slot) {
        UErrorCode status = U_ZERO_ERROR;
        slot.reset(icu::BreakIterator::createWordInstance(localeFor(hint), status));
        if (U_FAILURE(status))
            slot.reset();
    }
    return slot.get();
}

// Walks the code points of `text`; an unpaired surrogate is passed on as itself.
template <typename Visit>
bool anyCodePoint(QStringView text, Visit visit) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (visit(UChar32(c)))
            return true;
    }
    return false;
}

bool isAllWhitespace(QStringView piece) {
    return !anyCodePoint(piece, [](UChar32 c) { return !u_isUWhiteSpace(c); });
}

} // namespace

QList<TextRange> ranges(const QString& text, const QString& language) {
    // ICU counts in 32-bit offsets; no message comes anywhere near that.
    if (text.isEmpty() || text.size() > std::numeric_limits<int32_t>::max())
        return {};
    icu::BreakIterator* iterator = iteratorFor(hintFor(language));
    if (!iterator)
        iterator = iteratorFor(Hint::None);
    if (!iterator)
        return {};

    // Read-only alias of the QString's own UTF-16, so ICU's offsets are QString's offsets.
    const icu::UnicodeString alias(false, reinterpret_cast<const char16_t*>(text.utf16()),
                                   int32_t(text.size()));
    iterator->setText(alias);
    const QStringView view(text);
    QList<TextRange> found;
    int32_t start = iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE;
         start = end, end = iterator->next()) {
        if (!isAllWhitespace(view.sliced(start, end - start)))
            found.append({start, end - start});
    }
    // Leave the cached iterator pointing at nothing rather than at this call's text.
    static const icu::UnicodeString nothing;
    iterator->setText(nothing);
    return found;
}

QStringList words(const QString& text, const QString& language) {
    QStringList kept;
    for (const TextRange& range : ranges(text, language)) {
        const QStringView piece = QStringView(text).sliced(range.location, range.length);
        if (hasLetterOrNumber(piece))
            kept.append(piece.toString());
    }
    return kept;
}

bool hasLetterOrNumber(QStringView piece) {
    constexpr uint32_t letterOrNumber = U_GC_L_MASK | U_GC_N_MASK;
    return anyCodePoint(
        piece, [](UChar32 c) { return ((uint32_t(1) << u_charType(c)) & letterOrNumber) != 0; });
}

} // namespace quillo::WordBreaks
