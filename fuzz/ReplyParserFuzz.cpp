// SPDX-License-Identifier: Apache-2.0
// Any completion text: the parser never crashes, and a reply it gives is non-empty, within the
// line limit and free of blank lines.
#include "chat/ChatClient.h"
#include "chat/ReplyParser.h"

#include <cstdint>
#include <cstdlib>

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const int maxLines = 1 + data[0] % 6;
    const QString raw =
        QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));

    BotProfile any;
    any.targetLanguage = QStringLiteral("Any language");
    const auto reply = ChatClient::botReply(raw, any, maxLines);
    if (reply.ok()) {
        const QStringList lines = reply->text.split(u'\n');
        if (reply->text.isEmpty() || lines.size() > maxLines)
            std::abort();
        for (const QString& line : lines) {
            const auto isBlankOrTab = [](QChar c) { return c == u' ' || c == u'\t'; };
            if (line.isEmpty() || isBlankOrTab(line.front()) || isBlankOrTab(line.back()))
                std::abort();
        }
        if (reply->remember && reply->remember->trimmed() != *reply->remember)
            std::abort();
    } else if (reply.error().body != u"Empty reply") {
        std::abort();
    }
    // An ordinary contact never gets language or level, whatever the text says.
    BotProfile fixed;
    fixed.targetLanguage = QStringLiteral("Spanish");
    const auto plain = ChatClient::botReply(raw, fixed, maxLines);
    if (plain.ok() && (plain->language || plain->level))
        std::abort();
    if (plain.ok() != reply.ok())
        std::abort();
    return 0;
}
