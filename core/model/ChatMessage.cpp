// SPDX-License-Identifier: Apache-2.0
#include "ChatMessage.h"

#include "Identifiers.h"

namespace quillo {

Decoded<ChatMessage> ChatMessage::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    ChatMessage message;
    const auto id = r.lenient<QString>(QStringLiteral("id"));
    message.botId = r.required<QString>(QStringLiteral("botId"));
    message.role = r.required<MessageRole>(QStringLiteral("role"));
    message.text = r.required<QString>(QStringLiteral("text"));
    message.words =
        r.strictOptional<QList<WordGloss>>(QStringLiteral("words")).value_or(QList<WordGloss>());
    if (r.failed())
        return r.error();
    message.id = id ? *id : newID();
    const auto createdAt = r.lenient<qint64>(QStringLiteral("createdAt"));
    message.createdAt = createdAt ? *createdAt : nowMillis();
    const MessageSource inferred =
        message.role == MessageRole::Assistant ? MessageSource::Provider : MessageSource::User;
    message.source = r.lenient<MessageSource>(QStringLiteral("source")).value_or(inferred);
    message.language = r.lenient<QString>(QStringLiteral("language")).value_or(QString());
    // A check that does not read back is simply asked again.
    message.correction = r.lenient<Correction>(QStringLiteral("correction"));
    return message;
}

QJsonObject ChatMessage::toJson() const {
    QJsonObject object{
        {QStringLiteral("id"), id},
        {QStringLiteral("botId"), botId},
        {QStringLiteral("role"), toJsonValue(role)},
        {QStringLiteral("text"), text},
        {QStringLiteral("words"), toJsonValue(words)},
        {QStringLiteral("createdAt"), createdAt},
        {QStringLiteral("source"), toJsonValue(source)},
        {QStringLiteral("language"), language},
    };
    if (correction)
        object.insert(QStringLiteral("correction"), correction->toJson());
    return object;
}

} // namespace quillo
