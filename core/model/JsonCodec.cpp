// SPDX-License-Identifier: Apache-2.0
#include "JsonCodec.h"

#include <limits>

namespace quillo {

namespace {
DecodeError expected(const char* what) {
    return DecodeError{{}, QStringLiteral("expected ") + QLatin1StringView(what)};
}
} // namespace

Decoded<QString> JsonCodec<QString>::decode(const QJsonValue& value) {
    if (!value.isString())
        return expected("text");
    return value.toString();
}

Decoded<bool> JsonCodec<bool>::decode(const QJsonValue& value) {
    if (!value.isBool())
        return expected("true or false");
    return value.toBool();
}

Decoded<double> JsonCodec<double>::decode(const QJsonValue& value) {
    if (!value.isDouble())
        return expected("a number");
    return value.toDouble();
}

Decoded<qint64> JsonCodec<qint64>::decode(const QJsonValue& value) {
    if (!value.isDouble())
        return expected("a whole number");
    // A whole number written as 12.0 still counts; 12.5 or 1e30 does not.
    const qint64 sentinel = std::numeric_limits<qint64>::min();
    const qint64 whole = value.toInteger(sentinel);
    if (whole == sentinel && value.toDouble() != double(sentinel))
        return expected("a whole number");
    return whole;
}

Decoded<int> JsonCodec<int>::decode(const QJsonValue& value) {
    auto whole = JsonCodec<qint64>::decode(value);
    if (!whole)
        return whole.error();
    if (*whole < std::numeric_limits<int>::min() || *whole > std::numeric_limits<int>::max())
        return expected("a whole number in range");
    return int(*whole);
}

DecodeError unknownCase(const QJsonValue& value) {
    if (!value.isString())
        return expected("text");
    return DecodeError{{}, QStringLiteral("unknown value \"") + value.toString() + u'"'};
}

ObjectReader::ObjectReader(const QJsonValue& value) {
    if (value.isObject())
        m_object = value.toObject();
    else
        m_error = expected("an object");
}

void ObjectReader::fail(DecodeError error) {
    if (!m_error)
        m_error = std::move(error);
}

} // namespace quillo
