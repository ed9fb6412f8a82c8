// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DecodeError.h"
#include "WireEnum.h"
#include "common/Result.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>

#include <optional>

namespace quillo {

template <typename T>
using Decoded = Result<T, DecodeError>;

// How one type travels as a JSON value. Records provide `static Decoded<T> fromJson(const
// QJsonValue&)` and `QJsonObject toJson() const`; the specialisations below cover the rest.
template <typename T>
struct JsonCodec {
    static Decoded<T> decode(const QJsonValue& value) { return T::fromJson(value); }
    static QJsonValue encode(const T& value) { return value.toJson(); }
};

template <>
struct JsonCodec<QString> {
    static Decoded<QString> decode(const QJsonValue& value);
    static QJsonValue encode(const QString& value) { return value; }
};

template <>
struct JsonCodec<bool> {
    static Decoded<bool> decode(const QJsonValue& value);
    static QJsonValue encode(bool value) { return value; }
};

template <>
struct JsonCodec<double> {
    static Decoded<double> decode(const QJsonValue& value);
    static QJsonValue encode(double value) { return value; }
};

template <>
struct JsonCodec<qint64> {
    static Decoded<qint64> decode(const QJsonValue& value);
    static QJsonValue encode(qint64 value) { return value; }
};

template <>
struct JsonCodec<int> {
    static Decoded<int> decode(const QJsonValue& value);
    static QJsonValue encode(int value) { return value; }
};

DecodeError unknownCase(const QJsonValue& value);

template <WireEnumeration E>
struct JsonCodec<E> {
    static Decoded<E> decode(const QJsonValue& value) {
        if (value.isString()) {
            if (auto known = fromWireString<E>(value.toString()))
                return *known;
        }
        return unknownCase(value);
    }
    static QJsonValue encode(E value) { return wireString(value); }
};

template <typename T>
struct JsonCodec<QList<T>> {
    static Decoded<QList<T>> decode(const QJsonValue& value) {
        if (!value.isArray())
            return DecodeError{{}, QStringLiteral("expected a list")};
        const QJsonArray array = value.toArray();
        QList<T> items;
        items.reserve(array.size());
        for (qsizetype i = 0; i < array.size(); ++i) {
            auto item = JsonCodec<T>::decode(array.at(i));
            if (!item)
                return item.error().atIndex(i);
            items.append(std::move(item).value());
        }
        return items;
    }
    static QJsonValue encode(const QList<T>& items) {
        QJsonArray array;
        for (const T& item : items)
            array.append(JsonCodec<T>::encode(item));
        return array;
    }
};

template <typename T>
QJsonValue toJsonValue(const T& value) {
    return JsonCodec<T>::encode(value);
}

// Reads the fields of one JSON object with the three decoding rules of the document:
// required (missing or wrong type fails the record), lenient (missing or wrong type gives the
// default) and strict-optional (missing or null gives the default, a wrong type fails). The first
// failure is kept; later reads still return values so that decoding code stays linear.
class ObjectReader {
public:
    explicit ObjectReader(const QJsonValue& value);

    template <typename T>
    T required(const QString& key) {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull()) {
            fail(DecodeError{key, QStringLiteral("missing")});
            return T{};
        }
        return take<T>(key, value).value_or(T{});
    }

    template <typename T>
    std::optional<T> lenient(const QString& key) const {
        auto decoded = JsonCodec<T>::decode(m_object.value(key));
        if (!decoded)
            return std::nullopt;
        return std::move(decoded).value();
    }

    template <typename T>
    std::optional<T> strictOptional(const QString& key) {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        return take<T>(key, value);
    }

    bool failed() const { return m_error.has_value(); }
    const DecodeError& error() const { return *m_error; }

private:
    template <typename T>
    std::optional<T> take(const QString& key, const QJsonValue& value) {
        auto decoded = JsonCodec<T>::decode(value);
        if (!decoded) {
            fail(decoded.error().inField(key));
            return std::nullopt;
        }
        return std::move(decoded).value();
    }

    void fail(DecodeError error);

    QJsonObject m_object;
    std::optional<DecodeError> m_error;
};

} // namespace quillo
