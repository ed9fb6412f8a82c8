// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace quillo {

// Turns a raw model completion into the visible message and its side fields. Models are told
// to answer with one JSON object, but may wrap it in a reasoning block or a code fence, talk
// around it, break it, or just write prose; anything usable becomes a reply.
namespace ReplyParser {

// A completion with its reasoning and fences removed, and the object it holds, if any: where
// both operations below start, so that a caller asking several questions reads the text once.
struct Completion {
    QString text;
    std::optional<QJsonObject> object;
};

Completion read(const QString& raw);

// The visible message, at most `maxLines` non-empty lines, or nothing when there is none.
std::optional<QString> parseReply(const QString& raw, int maxLines);
std::optional<QString> parseReply(const Completion& completion, int maxLines);

// One top-level field of the reply object as trimmed text (numbers as their decimal text), or
// nothing when it is missing, empty or of another kind.
std::optional<QString> field(const QString& raw, const QString& key);
std::optional<QString> field(const Completion& completion, const QString& key);

} // namespace ReplyParser

} // namespace quillo
