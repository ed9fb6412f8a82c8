// SPDX-License-Identifier: Apache-2.0
#include "WordGlossing.h"

#include "common/LogCategories.h"
#include "language/WordBreaks.h"
#include "model/Languages.h"
#include "model/TextHelpers.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

// Where the message with this id sits, or -1.
qsizetype indexOfMessage(const MessageList& messages, const QString& id) {
    for (qsizetype i = 0; i < messages.size(); ++i) {
        if (messages.at(i).id == id)
            return i;
    }
    return -1;
}

QString glossLanguageOf(const StoredState& state) {
    return trimmedText(state.profile.glossLanguage());
}

// The language a contact's message is written in: the one the contact practises, or for a
// contact that writes any language, the one this message was written in.
QString sourceLanguage(const BotProfile& bot, const ChatMessage& message) {
    if (!bot.isAnyLanguage())
        return bot.targetLanguage;
    return isBlank(message.language) ? bot.speaking : message.language;
}

QStringList distinct(const QStringList& words) {
    QStringList kept;
    QSet<QString> seen;
    for (const QString& word : words) {
        if (!seen.contains(word)) {
            seen.insert(word);
            kept.append(word);
        }
    }
    return kept;
}

} // namespace

WordGlossing::WordGlossing(DocumentAccess& document, const FreeTranslator& translator)
    : m_document(document)
    , m_translator(translator) {}

WordGlossing::~WordGlossing() {
    close();
}

void WordGlossing::close() {
    m_lifetime.end();
}

QString WordGlossing::cacheKey(const QString& language, const QString& glossLanguage,
                               const QString& selection) {
    return languageKey(language) + u'|' + glossLanguage.toLower() + u'|' +
           trimmedText(selection).toLower();
}

void WordGlossing::prefetchWords(const QString& messageId) {
    const StoredState& state = m_document.document();
    const qsizetype index = indexOfMessage(state.messages, messageId);
    if (index < 0)
        return;
    const ChatMessage& message = state.messages.at(index);
    const std::optional<BotProfile> bot = state.bot(message.botId);
    if (!bot || !state.wordTranslations || message.role != MessageRole::Assistant ||
        !message.words.isEmpty() || m_glossing.contains(messageId))
        return;
    const QString language = sourceLanguage(*bot, message);
    const QStringList words = distinct(WordBreaks::words(message.text, language));
    if (words.isEmpty())
        return; // nothing to gloss, and nothing to ask
    m_glossing.insert(messageId);
    fetchGlosses(messageId, words, language, glossLanguageOf(state));
}

QCoro::Task<> WordGlossing::fetchGlosses(QString messageId, QStringList words, QString from,
                                         QString to) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const auto translated = co_await m_translator.translateMany(words, from, to);
    if (alive.ended())
        co_return;
    m_glossing.remove(messageId);
    if (!translated.ok()) {
        qCInfo(lcGlossing).noquote() << "no glosses this time:" << translated.error().description();
        co_return;
    }
    const QStringList& translations = translated.value();
    QList<WordGloss> glosses;
    for (qsizetype i = 0; i < words.size() && i < translations.size(); ++i) {
        const QString gloss = trimmedText(translations[i]);
        // A word that translates to itself, such as a name, needs no gloss.
        if (!gloss.isEmpty() && gloss.compare(words[i], Qt::CaseInsensitive) != 0)
            glosses.append({words[i], gloss});
    }
    m_document.apply(
        [&](StoredState& state) {
            // The message may have gone while the glosses were on their way.
            const qsizetype index = indexOfMessage(state.messages, messageId);
            if (index < 0)
                return;
            ChatMessage glossed = state.messages.at(index);
            glossed.words = glosses;
            state.messages.replace(index, std::move(glossed));
        },
        DocumentAccess::Languages::Keep);
}

QCoro::Task<TranslationResult<Meaning>> WordGlossing::translate(QString language,
                                                                QString selection) {
    const QString to = glossLanguageOf(m_document.document());
    const QString text = trimmedText(selection);
    const QString key = cacheKey(language, to, text);
    const auto cached = m_document.document().translationCache.constFind(key);
    if (cached != m_document.document().translationCache.cend())
        co_return TranslationResult<Meaning>(*cached);

    const Lifetime::Watch alive = m_lifetime.watch();
    auto looked = co_await m_translator.lookup(text, language, to);
    if (!looked.ok() || alive.ended())
        co_return looked;
    const Meaning meaning = looked.value();
    m_document.apply(
        [&](StoredState& state) {
            QMap<QString, Meaning>& cache = state.translationCache;
            cache.insert(key, meaning);
            // No recency is kept: the entries that go are simply the first in the map's order,
            // which may include the one just added.
            while (cache.size() > cacheLimit)
                cache.erase(cache.begin());
        },
        DocumentAccess::Languages::Keep);
    co_return TranslationResult<Meaning>(meaning);
}

} // namespace quillo
