// SPDX-License-Identifier: Apache-2.0
// Any answer of the translate endpoints: reading it never crashes, a meaning is trimmed, never an
// echo and has at most three distinct alternatives, a batch is exactly as long as asked for; and
// a batch body built from any texts decodes back to them.
#include "language/FreeTranslator.h"
#include "model/TextHelpers.h"

#include <QSet>

#include <cstdint>
#include <cstdlib>

using namespace quillo;

namespace {

void checkLookup(const QByteArray& body, const QString& text) {
    const auto meaning = FreeTranslator::parseLookup(body, text);
    if (!meaning)
        return;
    if (meaning->text.isEmpty() || trimmedText(meaning->text) != meaning->text ||
        meaning->text.toLower() == trimmedText(text).toLower() || meaning->alternatives.size() > 3)
        std::abort();
    QSet<QString> seen{meaning->text.toLower()};
    for (const QString& alternative : meaning->alternatives) {
        if (isBlank(alternative) || seen.contains(alternative.toLower()))
            std::abort();
        seen.insert(alternative.toLower());
    }
}

void checkBatch(const QByteArray& body, qsizetype expected) {
    const auto translations = FreeTranslator::parseBatch(body, expected);
    if (!translations)
        return;
    if (translations->size() != expected)
        std::abort();
    for (const QString& translation : *translations) {
        if (trimmedText(translation) != translation)
            std::abort();
    }
}

void checkBatchBody(const QStringList& texts) {
    const QByteArray body = FreeTranslator::batchBody(texts);
    for (const char c : body) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || QByteArrayView("-._*%=&").contains(c);
        if (!plain)
            std::abort();
    }
    const QList<QByteArray> pieces = body.split('&');
    if (pieces.size() != std::max<qsizetype>(texts.size(), 1))
        std::abort();
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (!pieces[i].startsWith("q=") ||
            QByteArray::fromPercentEncoding(pieces[i].mid(2)) != texts[i].toUtf8())
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    checkLookup(bytes, QStringLiteral("hola"));
    // The looked-up text from the answer itself, so that echoes come up.
    checkLookup(bytes, QString::fromUtf8(bytes.left(12)));
    for (const qsizetype expected : {0, 1, 2, 3, 7})
        checkBatch(bytes, expected);
    checkBatchBody(QString::fromUtf8(bytes).split(u'\n'));
    return 0;
}
