// SPDX-License-Identifier: Apache-2.0
#include "ReplyParser.h"

#include "LenientJson.h"
#include "model/TextHelpers.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <cmath>

namespace quillo::ReplyParser {

namespace {

// Built once and shared: both patterns and the key lists never change.
const QRegularExpression& reasoningPattern() {
    static const QRegularExpression pattern(QStringLiteral(R"(<think>[\s\S]*?</think>)"),
                                            QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

const QRegularExpression& messagePattern() {
    static const QRegularExpression pattern(
        QStringLiteral(R"re("message"\s*:\s*"((?:[^"\\]|\\.)*)")re"),
        QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

const QStringList& metadataKeys() {
    static const QStringList keys{QStringLiteral("language"), QStringLiteral("level"),
                                  QStringLiteral("remember")};
    return keys;
}

const QStringList& preferredTextKeys() {
    static const QStringList keys{QStringLiteral("reply"), QStringLiteral("text"),
                                  QStringLiteral("content"), QStringLiteral("response"),
                                  QStringLiteral("answer")};
    return keys;
}

QString clean(const QString& raw) {
    QString text = raw;
    text.remove(reasoningPattern());
    text.remove(QStringLiteral("```json"));
    text.remove(QStringLiteral("```"));
    return trimmedText(text);
}

std::optional<QJsonObject> object(const QString& text) {
    const qsizetype open = text.indexOf(u'{');
    const qsizetype close = text.lastIndexOf(u'}');
    if (open < 0 || close < 0 || close < open)
        return std::nullopt;
    const QByteArray span = text.mid(open, close - open + 1).toUtf8();
    const auto parsed = LenientJson::parse(span);
    if (!parsed || !parsed->isObject())
        return std::nullopt;
    return parsed->toObject();
}

bool isHorizontalSpace(QChar c) {
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f' || c == QChar(0x85) ||
           c == QChar(0x2028) || c == QChar(0x2029);
}

QString visibleLines(const QString& text, int maxLines) {
    QStringList lines;
    qsizetype start = 0;
    const auto takeLine = [&](qsizetype end) {
        qsizetype from = start;
        qsizetype to = end;
        while (from < to && isHorizontalSpace(text.at(from)))
            ++from;
        while (to > from && isHorizontalSpace(text.at(to - 1)))
            --to;
        if (to > from && lines.size() < maxLines)
            lines.append(text.mid(from, to - from));
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isLineBreak(text.at(i))) {
            takeLine(i);
            start = i + 1;
        }
    }
    takeLine(text.size());
    return lines.join(u'\n');
}

std::optional<QString> textCandidate(const QJsonObject& reply) {
    const QJsonValue message = reply.value(QStringLiteral("message"));
    if (message.isString())
        return message.toString();
    for (const QString& key : preferredTextKeys()) {
        const QJsonValue value = reply.value(key);
        if (value.isString())
            return value.toString();
    }
    // QJsonObject keeps its keys sorted, so this is the first text value by key.
    for (auto it = reply.constBegin(); it != reply.constEnd(); ++it) {
        if (!metadataKeys().contains(it.key()) && it.value().isString())
            return it.value().toString();
    }
    return std::nullopt;
}

QString unescapeMessage(QString text) {
    text.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
    text.replace(QStringLiteral("\\\""), QStringLiteral("\""));
    text.replace(QStringLiteral("\\/"), QStringLiteral("/"));
    text.replace(QStringLiteral("\\t"), QStringLiteral("\t"));
    return text;
}

QString numberText(double number) {
    // Whole numbers print without a fraction ("2", not "2.0" or "2e+00").
    if (std::isfinite(number) && std::trunc(number) == number && std::abs(number) < 9.0e15)
        return QString::number(qint64(number));
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

} // namespace

Completion read(const QString& raw) {
    Completion completion{clean(raw), std::nullopt};
    completion.object = object(completion.text);
    return completion;
}

std::optional<QString> parseReply(const QString& raw, int maxLines) {
    return parseReply(read(raw), maxLines);
}

std::optional<QString> parseReply(const Completion& completion, int maxLines) {
    const QString& text = completion.text;
    std::optional<QString> candidate;
    if (const auto& reply = completion.object) {
        candidate = textCandidate(*reply);
        if (!candidate)
            return std::nullopt;
    } else if (const auto match = messagePattern().match(text); match.hasMatch()) {
        candidate = unescapeMessage(match.captured(1));
    } else if (text.contains(QStringLiteral("\"message\""))) {
        // The model began the object and broke it: its raw JSON is no message.
        return std::nullopt;
    } else {
        candidate = text;
    }
    const QString visible = visibleLines(*candidate, maxLines);
    if (visible.isEmpty())
        return std::nullopt;
    return visible;
}

std::optional<QString> field(const QString& raw, const QString& key) {
    return field(read(raw), key);
}

std::optional<QString> field(const Completion& completion, const QString& key) {
    const auto& reply = completion.object;
    if (!reply)
        return std::nullopt;
    const QJsonValue value = reply->value(key);
    QString text;
    if (value.isString())
        text = value.toString();
    else if (value.isDouble())
        text = numberText(value.toDouble());
    else
        return std::nullopt;
    text = trimmedText(text);
    if (text.isEmpty())
        return std::nullopt;
    return text;
}

} // namespace quillo::ReplyParser
