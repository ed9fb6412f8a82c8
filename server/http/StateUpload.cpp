// SPDX-License-Identifier: Apache-2.0
#include "StateUpload.h"

#include "model/StoredState.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillo::server {

namespace {

// A small forward scanner over JSON text. It only finds where values begin and end; the text has
// been checked by a real parser first, and every step still stays inside the bytes it is given.
class JsonScanner {
public:
    explicit JsonScanner(const QByteArray& json)
        : m_json(json) {}

    qsizetype skipSpace(qsizetype at) const {
        while (at < m_json.size() && isSpace(m_json.at(at)))
            ++at;
        return at;
    }

    bool is(qsizetype at, char c) const { return at < m_json.size() && m_json.at(at) == c; }

    // The offset just past the string starting at `at`, or -1.
    qsizetype skipString(qsizetype at) const {
        if (!is(at, '"'))
            return -1;
        for (qsizetype i = at + 1; i < m_json.size(); ++i) {
            if (m_json.at(i) == '\\')
                ++i;
            else if (m_json.at(i) == '"')
                return i + 1;
        }
        return -1;
    }

    // The offset just past the value starting at `at`, or -1. Nesting is counted, not recursed
    // into, so depth costs nothing.
    qsizetype skipValue(qsizetype at) const {
        if (at >= m_json.size())
            return -1;
        const char first = m_json.at(at);
        if (first == '"')
            return skipString(at);
        if (first != '{' && first != '[') {
            qsizetype end = at;
            while (end < m_json.size() && !isSpace(m_json.at(end)) && !isDelimiter(m_json.at(end)))
                ++end;
            return end > at ? end : -1;
        }
        int depth = 0;
        for (qsizetype i = at; i < m_json.size();) {
            const char c = m_json.at(i);
            if (c == '"') {
                i = skipString(i);
                if (i < 0)
                    return -1;
                continue;
            }
            if (c == '{' || c == '[')
                ++depth;
            else if ((c == '}' || c == ']') && --depth == 0)
                return i + 1;
            ++i;
        }
        return -1;
    }

    // The text of the string token [begin, end), escapes resolved.
    QString stringAt(qsizetype begin, qsizetype end) const {
        const QByteArray token = m_json.mid(begin, end - begin);
        if (!token.contains('\\'))
            return QString::fromUtf8(token.mid(1, token.size() - 2));
        const QJsonDocument wrapped = QJsonDocument::fromJson('[' + token + ']');
        return wrapped.array().first().toString();
    }

private:
    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
    static bool isDelimiter(char c) { return c == ',' || c == '}' || c == ']' || c == ':'; }

    const QByteArray& m_json;
};

} // namespace

std::optional<std::pair<qsizetype, qsizetype>> memberSpan(const QByteArray& json,
                                                          const QString& key) {
    const JsonScanner scanner(json);
    qsizetype at = scanner.skipSpace(0);
    if (!scanner.is(at, '{'))
        return std::nullopt;
    at = scanner.skipSpace(at + 1);
    std::optional<std::pair<qsizetype, qsizetype>> found;
    bool repeated = false;
    while (!scanner.is(at, '}')) {
        const qsizetype keyEnd = scanner.skipString(at);
        if (keyEnd < 0)
            return std::nullopt;
        const bool wanted = scanner.stringAt(at, keyEnd) == key;
        at = scanner.skipSpace(keyEnd);
        if (!scanner.is(at, ':'))
            return std::nullopt;
        const qsizetype valueBegin = scanner.skipSpace(at + 1);
        const qsizetype valueEnd = scanner.skipValue(valueBegin);
        if (valueEnd < 0)
            return std::nullopt;
        if (wanted) {
            repeated = found.has_value();
            found = std::pair{valueBegin, valueEnd};
        }
        at = scanner.skipSpace(valueEnd);
        if (scanner.is(at, ','))
            at = scanner.skipSpace(at + 1);
        else if (!scanner.is(at, '}'))
            return std::nullopt;
        if (repeated)
            return std::nullopt;
    }
    return found;
}

Result<StateUpload, QString> StateUpload::parse(const QByteArray& body) {
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return QStringLiteral("malformed JSON");
    if (!json.isObject())
        return QStringLiteral("expected a JSON object");
    const QJsonObject object = json.object();

    const QJsonValue base = object.value(u"baseUpdatedAt");
    if (base.isUndefined() || base.isNull())
        return QStringLiteral("baseUpdatedAt: missing");
    const auto baseUpdatedAt = JsonCodec<qint64>::decode(base);
    if (!baseUpdatedAt || *baseUpdatedAt < 0)
        return QStringLiteral("baseUpdatedAt: expected a whole number of at least 0");

    const QJsonValue state = object.value(u"state");
    if (state.isUndefined() || state.isNull())
        return QStringLiteral("state: missing");
    if (!state.isObject())
        return QStringLiteral("state: expected an object");
    const auto span = memberSpan(body, QStringLiteral("state"));
    if (!span)
        return QStringLiteral("state: given more than once");
    const auto decoded = StoredState::fromJson(state);
    if (!decoded)
        return decoded.error().inField(QStringLiteral("state")).message();

    return StateUpload{body.mid(span->first, span->second - span->first), *baseUpdatedAt,
                       decoded->profile.setupCompleted};
}

bool setupCompletedIn(const QByteArray& document) {
    const auto span = memberSpan(document, QStringLiteral("profile"));
    // No single profile member found by the scanner (none, or one given twice): the whole
    // document is parsed, so that the answer is the one the decoder gave.
    const QJsonObject profile =
        span ? QJsonDocument::fromJson(document.mid(span->first, span->second - span->first))
                   .object()
             : QJsonDocument::fromJson(document).object().value(u"profile").toObject();
    return profile.value(u"setupCompleted").toBool();
}

} // namespace quillo::server
