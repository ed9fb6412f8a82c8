#pragma once

#include <QString>

#include <optional>

namespace quillo {

// Turns a raw model completion into the visible message and its side fields. Models are told
// to answer with one JSON object, but may wrap it in a reasoning block or a code fence, talk
// around it, break it, or just write prose; anything usable becomes a reply.
namespace ReplyParser {

// The visible message, at most `maxLines` non-empty lines, or nothing when there is none.
std::optional<QString> parseReply(const QString& raw, int maxLines);

// One top-level field of the reply object as trimmed text (numbers as their decimal text), or
// nothing when it is missing, empty or of another kind.
std::optional<QString> field(const QString& raw, const QString& key);

} // namespace ReplyParser

} // namespace quillo
