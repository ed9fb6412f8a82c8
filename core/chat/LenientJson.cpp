// SPDX-License-Identifier: Apache-2.0
#include "chat/LenientJson.h"

#include <QByteArray>
#include <QChar>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo {

namespace {

// QJsonDocument reads 1024 levels; stopping earlier would reject documents it accepts. Two stack
// frames per level stay far below any thread's stack.
constexpr int kMaxDepth = 1024;

constexpr char32_t kMalformed = 0xFFFFFFFF;
constexpr char32_t kReplacement = 0xFFFD;

// Length of the well-formed UTF-8 sequence at `p`, or 0 if there is none.
int decodeUtf8(const unsigned char* p, qsizetype available, char32_t& cp) {
    if (p[0] < 0x80) {
        cp = p[0];
        return 1;
    }
    const int length = p[0] >= 0xF0 ? 4 : p[0] >= 0xE0 ? 3 : 2;
    if (p[0] < 0xC2 || p[0] > 0xF4 || available < length)
        return 0;
    cp = p[0] & (0x3F >> (length - 1));
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    // Overlong forms, surrogates and code points past U+10FFFF are malformed, as they are for Qt.
    constexpr char32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kShortest[length] || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF)
        return 0;
    return length;
}

void appendCodePoint(QString& out, char32_t cp) {
    if (QChar::requiresSurrogates(cp)) {
        out.append(QChar(QChar::highSurrogate(cp)));
        out.append(QChar(QChar::lowSurrogate(cp)));
    } else {
        out.append(QChar(static_cast<char16_t>(cp)));
    }
}

bool isIdentifierStart(char32_t cp) {
    if (cp < 0x80)
        return (cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z') || cp == '_' || cp == '$';
    if (cp > QChar::LastValidCodePoint)
        return false;
    const QChar::Category c = QChar::category(cp);
    return c == QChar::Letter_Uppercase || c == QChar::Letter_Lowercase ||
           c == QChar::Letter_Titlecase || c == QChar::Letter_Modifier ||
           c == QChar::Letter_Other || c == QChar::Number_Letter;
}

bool isIdentifierPart(char32_t cp) {
    if (isIdentifierStart(cp) || (cp >= '0' && cp <= '9') || cp == 0x200C || cp == 0x200D)
        return true;
    if (cp < 0x80 || cp > QChar::LastValidCodePoint)
        return false;
    const QChar::Category c = QChar::category(cp);
    return c == QChar::Mark_NonSpacing || c == QChar::Mark_SpacingCombining ||
           c == QChar::Number_DecimalDigit || c == QChar::Punctuation_Connector;
}

bool isLineBreak(char32_t cp) {
    return cp == '\n' || cp == '\r' || cp == 0x2028 || cp == 0x2029;
}

bool isSpace(char32_t cp) {
    return cp == ' ' || (cp >= '\t' && cp <= '\r') || isLineBreak(cp) || cp == 0xFEFF ||
           (cp > 0x7F && cp <= QChar::LastValidCodePoint &&
            QChar::category(cp) == QChar::Separator_Space);
}

int hexValue(int c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool isDigit(int c) {
    return c >= '0' && c <= '9';
}

class Reader {
public:
    explicit Reader(QByteArrayView input)
        : m_text(input.data(), static_cast<size_t>(input.size()))
        , m_size(input.size()) {}

    Result<QJsonValue, LenientJsonError> read() {
        QJsonValue value;
        if (skipSpace() && readValue(value, 0) && skipSpace()) {
            if (m_pos == m_size)
                return value;
            fail(m_pos, QStringLiteral("unexpected text after the value"));
        }
        return m_error;
    }

private:
    int byteAt(qsizetype i) const {
        return i < m_size ? static_cast<unsigned char>(m_text[static_cast<size_t>(i)]) : -1;
    }
    int peek() const { return byteAt(m_pos); }

    // kMalformed with length 1 for a byte that starts no valid sequence; length 0 at the end.
    char32_t codePointAt(qsizetype pos, int& length) const {
        length = 0;
        if (pos >= m_size)
            return kMalformed;
        char32_t cp = kMalformed;
        length = decodeUtf8(reinterpret_cast<const unsigned char*>(m_text.data()) + pos,
                            m_size - pos, cp);
        if (length == 0) {
            length = 1;
            return kMalformed;
        }
        return cp;
    }

    bool fail(qsizetype offset, QString message) {
        m_error = {offset, std::move(message)};
        return false;
    }

    bool skipSpace() {
        while (m_pos < m_size) {
            if (peek() == '/' && byteAt(m_pos + 1) == '/') {
                int length = 0;
                while (m_pos < m_size && !isLineBreak(codePointAt(m_pos, length)))
                    m_pos += length;
            } else if (peek() == '/' && byteAt(m_pos + 1) == '*') {
                const size_t end = m_text.find("*/", static_cast<size_t>(m_pos) + 2);
                if (end == std::string_view::npos)
                    return fail(m_pos, QStringLiteral("unterminated comment"));
                m_pos = static_cast<qsizetype>(end) + 2;
            } else {
                int length = 0;
                if (!isSpace(codePointAt(m_pos, length)))
                    return true;
                m_pos += length;
            }
        }
        return true;
    }

    std::string_view readIdentifier() {
        const qsizetype start = m_pos;
        int length = 0;
        if (!isIdentifierStart(codePointAt(m_pos, length)))
            return {};
        do {
            m_pos += length;
        } while (isIdentifierPart(codePointAt(m_pos, length)));
        return m_text.substr(static_cast<size_t>(start), static_cast<size_t>(m_pos - start));
    }

    bool readValue(QJsonValue& out, int depth) {
        const int c = peek();
        if (c == '{' || c == '[') {
            if (depth >= kMaxDepth)
                return fail(m_pos, QStringLiteral("nesting too deep"));
            return c == '{' ? readObject(out, depth + 1) : readArray(out, depth + 1);
        }
        if (c == '"' || c == '\'') {
            QString text;
            if (!readString(text))
                return false;
            out = text;
            return true;
        }
        if (c == '-' || c == '+' || c == '.' || isDigit(c))
            return readNumber(out);
        if (c < 0)
            return fail(m_pos, QStringLiteral("unexpected end of input"));

        const qsizetype start = m_pos;
        const std::string_view word = readIdentifier();
        if (word == "true" || word == "false") {
            out = word == "true";
            return true;
        }
        if (word == "null") {
            out = QJsonValue(QJsonValue::Null);
            return true;
        }
        if (word == "Infinity" || word == "NaN")
            return fail(start, QStringLiteral("Infinity and NaN are not supported"));
        return fail(start, QStringLiteral("unexpected character"));
    }

    bool readString(QString& out) {
        const char quote = m_text[static_cast<size_t>(m_pos++)];
        const size_t start = static_cast<size_t>(m_pos);
        const size_t stop = m_text.find_first_of(quote == '"' ? "\"\\" : "'\\", start);
        if (stop == std::string_view::npos)
            return fail(m_size, QStringLiteral("unterminated string"));
        if (m_text[stop] == quote) {
            // The decoding QJsonDocument uses for escape-free strings, leading-BOM drop included.
            out = QString::fromUtf8(m_text.data() + start, static_cast<qsizetype>(stop - start));
            m_pos = static_cast<qsizetype>(stop) + 1;
            return true;
        }
        while (m_pos < m_size) {
            const int c = peek();
            if (c == quote) {
                ++m_pos;
                return true;
            }
            if (c == '\\') {
                if (!readEscape(out))
                    return false;
                continue;
            }
            int length = 0;
            const char32_t cp = codePointAt(m_pos, length);
            appendCodePoint(out, cp == kMalformed ? kReplacement : cp);
            m_pos += length;
        }
        return fail(m_size, QStringLiteral("unterminated string"));
    }

    bool readEscape(QString& out) {
        const qsizetype backslash = m_pos++;
        const int c = peek();
        if (c < 0)
            return fail(m_size, QStringLiteral("unterminated string"));
        constexpr std::string_view kNamed = "bfnrt";
        if (const size_t named = kNamed.find(static_cast<char>(c)); named != kNamed.npos) {
            out.append(QChar(u"\b\f\n\r\t"[named]));
            ++m_pos;
            return true;
        }
        if (c == 'u') {
            char16_t unit = 0;
            for (int i = 1; i <= 4; ++i) {
                const int digit = hexValue(byteAt(m_pos + i));
                if (digit < 0)
                    return fail(backslash, QStringLiteral("bad \\u escape"));
                unit = static_cast<char16_t>(unit * 16 + digit);
            }
            // Halves go in as they are, so \ud83d\ude00 pairs up in UTF-16 by itself.
            out.append(QChar(unit));
            m_pos += 5;
            return true;
        }
        // Anything else stands for itself. QJsonDocument reads \x41, \0, \v and backslash-newline
        // that way, so they keep that meaning rather than the JSON5 one: the same bytes must not
        // read differently here and there. For the same reason a stray non-UTF-8 byte is Latin-1.
        // Before U+2028 or U+2029, which Qt refuses, the backslash continues the line.
        int length = 0;
        const char32_t cp = codePointAt(m_pos, length);
        if (cp == kMalformed)
            out.append(QChar(static_cast<char16_t>(c)));
        else if (cp != 0x2028 && cp != 0x2029)
            appendCodePoint(out, cp);
        m_pos += length;
        return true;
    }

    qsizetype skipDigits() {
        const qsizetype start = m_pos;
        while (isDigit(peek()))
            ++m_pos;
        return m_pos - start;
    }

    // Infinity and NaN are refused: QJsonValue cannot carry them into a JSON document, and a
    // reply that needs them is a reply we cannot use anyway.
    bool readNumber(QJsonValue& out) {
        const qsizetype start = m_pos;
        const bool negative = peek() == '-';
        if (peek() == '-' || peek() == '+')
            ++m_pos;
        const qsizetype digits = negative ? start : m_pos; // Qt's conversions refuse a '+'
        if (const std::string_view word = readIdentifier(); !word.empty()) {
            return fail(start, word == "Infinity" || word == "NaN"
                                   ? QStringLiteral("Infinity and NaN are not supported")
                                   : QStringLiteral("invalid number"));
        }
        if (peek() == '0' && (byteAt(m_pos + 1) == 'x' || byteAt(m_pos + 1) == 'X'))
            return readHex(out, start, negative);
        if (peek() == '0' && isDigit(byteAt(m_pos + 1)))
            return fail(m_pos, QStringLiteral("leading zeros are not allowed"));

        bool integral = true;
        qsizetype mantissaDigits = skipDigits();
        if (peek() == '.') {
            ++m_pos;
            integral = false;
            mantissaDigits += skipDigits();
        }
        if (mantissaDigits == 0)
            return fail(start, QStringLiteral("invalid number"));
        if (peek() == 'e' || peek() == 'E') {
            ++m_pos;
            integral = false;
            if (peek() == '+' || peek() == '-')
                ++m_pos;
            if (skipDigits() == 0)
                return fail(m_pos, QStringLiteral("invalid exponent"));
        }

        const char* first = m_text.data() + digits;
        const char* last = m_text.data() + m_pos;
        // Integers go through qint64 first so 9007199254740993 keeps its last digit, as in Qt.
        qint64 integer = 0;
        if (integral && std::from_chars(first, last, integer).ec == std::errc()) {
            out = QJsonValue(integer);
            return true;
        }
        bool ok = false;
        const double number = QByteArray::fromRawData(first, last - first).toDouble(&ok);
        if (!ok)
            return fail(start, QStringLiteral("number out of range"));
        // Like Qt, a whole double that fits is kept as an integer (1e2 and -0.0 read as 100 and 0).
        if (std::trunc(number) == number && number >= -0x1p63 && number < 0x1p63)
            out = QJsonValue(static_cast<qint64>(number));
        else
            out = QJsonValue(number);
        return true;
    }

    bool readHex(QJsonValue& out, qsizetype start, bool negative) {
        m_pos += 2;
        const qsizetype first = m_pos;
        quint64 magnitude = 0;
        for (int digit = hexValue(peek()); digit >= 0; digit = hexValue(peek())) {
            if (magnitude > (std::numeric_limits<quint64>::max() >> 4))
                return fail(start, QStringLiteral("number out of range"));
            magnitude = magnitude * 16 + static_cast<quint64>(digit);
            ++m_pos;
        }
        if (m_pos == first)
            return fail(m_pos, QStringLiteral("invalid number"));
        const quint64 limit = quint64(std::numeric_limits<qint64>::max()) + (negative ? 1 : 0);
        if (magnitude > limit)
            return fail(start, QStringLiteral("number out of range"));
        out = QJsonValue(negative && magnitude > 0 ? -static_cast<qint64>(magnitude - 1) - 1
                                                   : static_cast<qint64>(magnitude));
        return true;
    }

    bool readArray(QJsonValue& out, int depth) {
        ++m_pos;
        QJsonArray array;
        for (;;) {
            if (!skipSpace())
                return false;
            if (peek() == ']')
                break;
            QJsonValue item;
            if (!readValue(item, depth) || !skipSpace())
                return false;
            array.append(item);
            if (peek() == ']')
                break;
            if (peek() != ',')
                return fail(m_pos, peek() < 0 ? QStringLiteral("unterminated array")
                                              : QStringLiteral("expected ',' or ']'"));
            ++m_pos;
        }
        ++m_pos;
        out = array;
        return true;
    }

    bool readObject(QJsonValue& out, int depth) {
        ++m_pos;
        std::vector<std::pair<QString, QJsonValue>> members;
        for (;;) {
            if (!skipSpace())
                return false;
            const int c = peek();
            if (c == '}')
                break;
            QString key;
            if (c == '"' || c == '\'') {
                if (!readString(key))
                    return false;
            } else {
                const std::string_view name = readIdentifier();
                if (name.empty())
                    return fail(m_pos, c < 0 ? QStringLiteral("unterminated object")
                                             : QStringLiteral("expected a key"));
                key = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
            }
            if (!skipSpace())
                return false;
            if (peek() != ':')
                return fail(m_pos, QStringLiteral("expected ':'"));
            ++m_pos;
            QJsonValue value;
            if (!skipSpace() || !readValue(value, depth) || !skipSpace())
                return false;
            members.emplace_back(std::move(key), std::move(value));
            if (peek() == '}')
                break;
            if (peek() != ',')
                return fail(m_pos, peek() < 0 ? QStringLiteral("unterminated object")
                                              : QStringLiteral("expected ',' or '}'"));
            ++m_pos;
        }
        ++m_pos;
        // QJsonObject keeps its keys sorted: sorting first makes every insert an append instead of
        // a shift. The sort is stable, so the last of duplicate keys is inserted last and wins.
        std::stable_sort(members.begin(), members.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        QJsonObject object;
        for (const auto& [key, value] : members)
            object.insert(key, value);
        out = object;
        return true;
    }

    std::string_view m_text;
    qsizetype m_size = 0;
    qsizetype m_pos = 0;
    LenientJsonError m_error;
};

} // namespace

Result<QJsonValue, LenientJsonError> LenientJson::parse(QByteArrayView utf8) {
    return Reader(utf8).read();
}

} // namespace quillo
