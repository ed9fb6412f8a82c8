// SPDX-License-Identifier: Apache-2.0
#include "DocumentWriter.h"

#include <cmath>

namespace quillo {

namespace {

class JsonOut {
public:
    explicit JsonOut(qsizetype reserve) { m_bytes.reserve(reserve); }

    QByteArray take() { return std::move(m_bytes); }

    void raw(const char* text) { m_bytes.append(text); }
    void raw(char c) { m_bytes.append(c); }

    // `,"key":` or `"key":` for the first member of an object.
    void key(const char* name, bool first = false) {
        if (!first)
            m_bytes.append(',');
        m_bytes.append('"');
        m_bytes.append(name);
        m_bytes.append("\":");
    }

    void boolean(bool value) { m_bytes.append(value ? "true" : "false"); }
    void integer(qint64 value) { m_bytes.append(QByteArray::number(value)); }

    void number(double value) {
        if (!std::isfinite(value)) {
            m_bytes.append("null"); // reads back as the field's default
            return;
        }
        if (std::trunc(value) == value && std::abs(value) < 9.0e15)
            m_bytes.append(QByteArray::number(qint64(value)));
        else
            m_bytes.append(QByteArray::number(value, 'g', QLocale::FloatingPointShortest));
    }

    void string(QStringView text) {
        m_bytes.append('"');
        const qsizetype size = text.size();
        for (qsizetype i = 0; i < size; ++i) {
            const char16_t c = text[i].unicode();
            if (c >= 0x20 && c < 0x80 && c != u'"' && c != u'\\') {
                m_bytes.append(char(c));
            } else if (c < 0x80) {
                escapeAscii(c);
            } else if (c < 0x800) {
                m_bytes.append(char(0xC0 | (c >> 6)));
                m_bytes.append(char(0x80 | (c & 0x3F)));
            } else if (QChar::isHighSurrogate(c) && i + 1 < size &&
                       QChar::isLowSurrogate(text[i + 1].unicode())) {
                const char32_t code = QChar::surrogateToUcs4(c, text[++i].unicode());
                m_bytes.append(char(0xF0 | (code >> 18)));
                m_bytes.append(char(0x80 | ((code >> 12) & 0x3F)));
                m_bytes.append(char(0x80 | ((code >> 6) & 0x3F)));
                m_bytes.append(char(0x80 | (code & 0x3F)));
            } else if (QChar::isSurrogate(c)) {
                unicodeEscape(c); // a lone half has no UTF-8 form
            } else {
                m_bytes.append(char(0xE0 | (c >> 12)));
                m_bytes.append(char(0x80 | ((c >> 6) & 0x3F)));
                m_bytes.append(char(0x80 | (c & 0x3F)));
            }
        }
        m_bytes.append('"');
    }

    void strings(const QStringList& list) {
        m_bytes.append('[');
        for (qsizetype i = 0; i < list.size(); ++i) {
            if (i)
                m_bytes.append(',');
            string(list.at(i));
        }
        m_bytes.append(']');
    }

    template <WireEnumeration E>
    void enumeration(E value) {
        string(wireString(value));
    }

private:
    void escapeAscii(char16_t c) {
        switch (c) {
        case u'"':
            m_bytes.append("\\\"");
            return;
        case u'\\':
            m_bytes.append("\\\\");
            return;
        case u'\b':
            m_bytes.append("\\b");
            return;
        case u'\f':
            m_bytes.append("\\f");
            return;
        case u'\n':
            m_bytes.append("\\n");
            return;
        case u'\r':
            m_bytes.append("\\r");
            return;
        case u'\t':
            m_bytes.append("\\t");
            return;
        default:
            unicodeEscape(c);
        }
    }

    void unicodeEscape(char16_t c) {
        static const char hex[] = "0123456789abcdef";
        const char escape[] = {
            '\\',        'u', hex[(c >> 12) & 0xF], hex[(c >> 8) & 0xF], hex[(c >> 4) & 0xF],
            hex[c & 0xF]};
        m_bytes.append(escape, sizeof escape);
    }

    QByteArray m_bytes;
};

// Members are written in the order Qt's writer uses (sorted by key), so both encodings agree.

void writeLanguage(JsonOut& out, const LanguageSettings& settings) {
    out.raw('{');
    const bool choseCorrections = settings.corrections != CorrectionLevel::WhenAsked;
    if (choseCorrections) {
        out.key("corrections", true);
        out.enumeration(settings.corrections);
    }
    out.key("language", !choseCorrections);
    out.string(settings.language);
    out.key("level");
    out.enumeration(settings.level);
    out.key("replyLength");
    out.enumeration(settings.replyLength);
    out.key("showsRomanization");
    out.boolean(settings.showsRomanization);
    out.raw('}');
}

void writeProfile(JsonOut& out, const UserProfile& profile) {
    out.raw('{');
    out.key("about", true);
    out.string(profile.about);
    out.key("ageGroup");
    out.enumeration(profile.ageGroup);
    out.key("displayName");
    out.string(profile.displayName);
    out.key("interests");
    out.strings(profile.interests);
    out.key("languages");
    out.raw('[');
    for (qsizetype i = 0; i < profile.languages.size(); ++i) {
        if (i)
            out.raw(',');
        writeLanguage(out, profile.languages.at(i));
    }
    out.raw(']');
    out.key("nativeLanguage");
    out.string(profile.nativeLanguage);
    out.key("progressiveDifficulty");
    out.boolean(profile.progressiveDifficulty);
    out.key("setupCompleted");
    out.boolean(profile.setupCompleted);
    out.raw('}');
}

void writeBot(JsonOut& out, const BotProfile& bot) {
    out.raw('{');
    out.key("accent", true);
    out.string(bot.accent);
    out.key("conversationStyle");
    out.enumeration(bot.conversationStyle);
    out.key("displayName");
    out.string(bot.displayName);
    out.key("id");
    out.string(bot.id);
    out.key("isEnabled");
    out.boolean(bot.isEnabled);
    out.key("memories");
    out.strings(bot.memories);
    out.key("notes");
    out.string(bot.notes);
    out.key("personaAge");
    out.enumeration(bot.personaAge);
    out.key("personaGender");
    out.enumeration(bot.personaGender);
    out.key("personality");
    out.string(bot.personality);
    out.key("speaking");
    out.string(bot.speaking);
    if (bot.speakingLevel) {
        out.key("speakingLevel");
        out.enumeration(*bot.speakingLevel);
    }
    out.key("styleNote");
    out.string(bot.styleNote);
    out.key("targetLanguage");
    out.string(bot.targetLanguage);
    out.key("topic");
    out.string(bot.topic);
    out.raw('}');
}

void writeCorrection(JsonOut& out, const Correction& correction) {
    out.key("correction");
    out.raw('{');
    out.key("checkedAt", true);
    out.integer(correction.checkedAt);
    out.key("corrected");
    out.string(correction.corrected);
    out.key("edits");
    out.raw('[');
    for (qsizetype i = 0; i < correction.edits.size(); ++i) {
        const CorrectionEdit& edit = correction.edits.at(i);
        out.raw(i ? ",{" : "{");
        out.key("corrected", true);
        out.string(edit.corrected);
        out.key("explanation");
        out.string(edit.explanation);
        out.key("original");
        out.string(edit.original);
        out.raw('}');
    }
    out.raw(']');
    out.key("language");
    out.string(correction.language);
    out.raw('}');
}

void writeMessage(JsonOut& out, const ChatMessage& message) {
    out.raw('{');
    out.key("botId", true);
    out.string(message.botId);
    if (message.correction)
        writeCorrection(out, *message.correction);
    out.key("createdAt");
    out.integer(message.createdAt);
    out.key("id");
    out.string(message.id);
    out.key("language");
    out.string(message.language);
    out.key("role");
    out.enumeration(message.role);
    out.key("source");
    out.enumeration(message.source);
    out.key("text");
    out.string(message.text);
    out.key("words");
    out.raw('[');
    for (qsizetype i = 0; i < message.words.size(); ++i) {
        out.raw(i ? ",{" : "{");
        out.key("gloss", true);
        out.string(message.words.at(i).gloss);
        out.key("text");
        out.string(message.words.at(i).text);
        out.raw('}');
    }
    out.raw("]}");
}

template <typename Value, typename WriteValue>
void writeMap(JsonOut& out, const QMap<QString, Value>& map, WriteValue writeValue) {
    out.raw('{');
    bool first = true;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!first)
            out.raw(',');
        first = false;
        out.string(it.key());
        out.raw(':');
        writeValue(it.value());
    }
    out.raw('}');
}

} // namespace

QByteArray compactDocumentJson(const StoredState& state) {
    // About 300 bytes a message with its glosses: one allocation for most documents.
    JsonOut out(4096 + state.messages.size() * 320);
    out.raw('{');
    out.key("bots", true);
    out.raw('[');
    for (qsizetype i = 0; i < state.bots.size(); ++i) {
        if (i)
            out.raw(',');
        writeBot(out, state.bots.at(i));
    }
    out.raw(']');
    out.key("botsCanStartConversations");
    out.boolean(state.botsCanStartConversations);
    if (!state.explanations.isEmpty()) {
        out.key("explanations");
        writeMap(out, state.explanations, [&](const Explanation& explanation) {
            out.raw('{');
            out.key("dictionaryForm", true);
            out.string(explanation.dictionaryForm);
            out.key("grammarNote");
            out.string(explanation.grammarNote);
            out.key("meaning");
            out.string(explanation.meaning);
            out.key("partOfSpeech");
            out.string(explanation.partOfSpeech);
            out.raw('}');
        });
    }
    out.key("keepRunningWhenClosed");
    out.boolean(state.keepRunningWhenClosed);
    out.key("lastReadAt");
    writeMap(out, state.lastReadAt, [&](qint64 at) { out.integer(at); });
    out.key("messages");
    out.raw('[');
    bool first = true;
    for (const ChatMessage& message : state.messages) {
        if (!first)
            out.raw(',');
        first = false;
        writeMessage(out, message);
    }
    out.raw(']');
    out.key("nextNudgeAt");
    writeMap(out, state.nextNudgeAt, [&](qint64 at) { out.integer(at); });
    out.key("notificationsEnabled");
    out.boolean(state.notificationsEnabled);
    out.key("profile");
    writeProfile(out, state.profile);
    out.key("speechLanguage");
    out.string(state.speechLanguage);
    if (state.syncMark) {
        out.key("syncMark");
        out.raw('{');
        if (state.syncMark->fingerprint) {
            out.key("fingerprint", true);
            out.string(*state.syncMark->fingerprint);
            out.key("syncedAt");
        } else {
            out.key("syncedAt", true);
        }
        out.integer(state.syncMark->syncedAt);
        out.raw('}');
    }
    out.key("textSettings");
    out.raw('{');
    out.key("lineSpacing", true);
    out.number(state.textSettings.lineSpacing);
    out.key("readingGap");
    out.number(state.textSettings.readingGap);
    out.key("readingSize");
    out.number(state.textSettings.readingSize);
    out.key("textSize");
    out.number(state.textSettings.textSize);
    out.raw('}');
    out.key("theme");
    out.enumeration(state.theme);
    out.key("translationCache");
    writeMap(out, state.translationCache, [&](const Meaning& meaning) {
        out.raw('{');
        out.key("alternatives", true);
        out.strings(meaning.alternatives);
        out.key("text");
        out.string(meaning.text);
        out.raw('}');
    });
    out.key("wordTranslations");
    out.boolean(state.wordTranslations);
    out.raw('}');
    return out.take();
}

} // namespace quillo
