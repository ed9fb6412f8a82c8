// SPDX-License-Identifier: Apache-2.0
// Any JSON value: decoding every record never crashes, and whatever decodes survives the trip
// through its own encoding unchanged.
#include "model/BotProfile.h"
#include "model/ChatMessage.h"
#include "model/Meaning.h"
#include "model/TextSettings.h"
#include "model/UserProfile.h"

#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

using namespace quillo;

namespace {

template <typename T>
void roundTrip(const QJsonValue& value) {
    const auto decoded = JsonCodec<T>::decode(value);
    if (!decoded.ok())
        return;
    const auto again = JsonCodec<T>::decode(toJsonValue(decoded.value()));
    if (!again.ok() || !(again.value() == decoded.value()))
        std::abort();
}

template <typename... T>
void roundTripAll(const QJsonValue& value) {
    (roundTrip<T>(value), ...);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)));
    const QJsonValue value =
        document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    roundTripAll<UserProfile, BotProfile, ChatMessage, LanguageSettings, WordGloss, Meaning,
                 TextSettings, QList<ChatMessage>, QList<BotProfile>>(value);
    return 0;
}
