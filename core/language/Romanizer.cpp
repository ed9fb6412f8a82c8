// SPDX-License-Identifier: Apache-2.0
#include "Romanizer.h"

#include "model/Languages.h"
#include "model/TextHelpers.h"

#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <limits>
#include <map>
#include <memory>

namespace quillo::Romanizer {

namespace {

QString anyToLatin() {
    return QStringLiteral("Any-Latin");
}

QString transformFor(const QString& key) {
    // The kana transforms leave kanji alone, so Japanese with kanji gets no reading at all.
    if (key == u"japanese")
        return QStringLiteral("Hiragana-Latin; Katakana-Latin");
    // BGN spellings read more naturally to English speakers than the scholarly default.
    if (key == u"russian" || key == u"ukrainian" || key == u"bulgarian" || key == u"belarusian")
        return key.left(1).toUpper() + key.mid(1) + QStringLiteral("-Latin/BGN");
    return anyToLatin();
}

// Building a transliterator compiles its rules, which takes far longer than using it. ICU
// transliterators must not be shared between threads, so each thread keeps its own per id;
// an id ICU does not know is remembered as such so that it is not tried again.
icu::Transliterator* transliteratorFor(const QString& id) {
    thread_local std::map<QString, std::unique_ptr<icu::Transliterator>> cache;
    const auto known = cache.find(id);
    if (known != cache.end())
        return known->second.get();
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString icuId(reinterpret_cast<const char16_t*>(id.utf16()),
                                   int32_t(id.size()));
    std::unique_ptr<icu::Transliterator> made(
        icu::Transliterator::createInstance(icuId, UTRANS_FORWARD, status));
    if (U_FAILURE(status))
        made.reset();
    return cache.emplace(id, std::move(made)).first->second.get();
}

std::optional<QString> transliterate(const QString& text, const QString& id) {
    icu::Transliterator* transliterator = transliteratorFor(id);
    if (!transliterator)
        return std::nullopt;
    icu::UnicodeString buffer(reinterpret_cast<const char16_t*>(text.utf16()),
                              int32_t(text.size()));
    transliterator->transliterate(buffer);
    if (buffer.isBogus())
        return std::nullopt;
    return QString::fromUtf16(buffer.getBuffer(), buffer.length());
}

bool hasIdeograph(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (u_hasBinaryProperty(UChar32(c), UCHAR_IDEOGRAPHIC))
            return true;
    }
    return false;
}

} // namespace

std::optional<QString> romanize(const QString& text, const QString& language) {
    const QString key = languageKey(language);
    if (!romanizedLanguages().contains(key))
        return std::nullopt;
    // ICU counts in 32-bit lengths; a reading is for a word or a message, never that long.
    if (text.size() > std::numeric_limits<int32_t>::max())
        return std::nullopt;

    const QString trimmedInput = trimmedText(text);
    std::optional<QString> result = transliterate(text, transformFor(key));
    if (!result)
        result = transliterate(text, anyToLatin());
    if (!result)
        return std::nullopt;

    QString reading = trimmedText(*result);
    // Nothing to show when the transform had nothing to do, or left characters a reader of
    // Latin letters still cannot pronounce.
    if (reading.isEmpty() || reading == trimmedInput || hasIdeograph(reading))
        return std::nullopt;
    return reading;
}

} // namespace quillo::Romanizer
