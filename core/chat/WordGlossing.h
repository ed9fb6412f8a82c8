// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"
#include "language/FreeTranslator.h"
#include "parts/DocumentAccess.h"

#include <QCoroTask>
#include <QSet>

#include <memory>

namespace quillo {

// Meanings that do not go through Quillo's own service: the glosses of a contact's words, fetched
// in one batch when its message arrives, and the meaning of a selected passage or hovered word,
// kept in the document's translation cache.
class WordGlossing {
public:
    // Entries the translation cache keeps at most.
    static constexpr qsizetype cacheLimit = 500;

    // Everything given must outlive this object.
    WordGlossing(DocumentAccess& document, const FreeTranslator& translator);
    ~WordGlossing();
    WordGlossing(const WordGlossing&) = delete;
    WordGlossing& operator=(const WordGlossing&) = delete;

    // Starts fetching glosses for a contact's message that has none, unless the user switched
    // word translations off or a fetch for it is running. Failures leave the message as it is.
    void prefetchWords(const QString& messageId);

    // Whether a fetch for this message is running.
    bool isGlossing(const QString& messageId) const { return m_glossing.contains(messageId); }

    // The meaning of `selection` in `language`, from the cache or the translator.
    QCoro::Task<TranslationResult<Meaning>> translate(QString language, QString selection);

    // The cache key: practised language, gloss language, selection, all folded.
    static QString cacheKey(const QString& language, const QString& glossLanguage,
                            const QString& selection);

    // Fetches in flight finish without touching anything.
    void close();

private:
    QCoro::Task<> fetchGlosses(QString messageId, QStringList words, QString from, QString to);

    DocumentAccess& m_document;
    const FreeTranslator& m_translator;
    QSet<QString> m_glossing;
    Lifetime m_lifetime;
};

} // namespace quillo
