// SPDX-License-Identifier: Apache-2.0
#include "chat/LenientJson.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// Stricter than QJsonValue::operator==, which lets an integer equal a double and 0.0 equal -0.0.
bool same(const QJsonValue& a, const QJsonValue& b) {
    if (a.type() != b.type())
        return false;
    switch (a.type()) {
    case QJsonValue::Double: {
        if (a.toVariant().typeId() != b.toVariant().typeId())
            return false;
        if (a.toVariant().typeId() == QMetaType::LongLong)
            return a.toInteger() == b.toInteger();
        const double x = a.toDouble();
        const double y = b.toDouble();
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    case QJsonValue::String:
        return a.toString() == b.toString();
    case QJsonValue::Array: {
        const QJsonArray x = a.toArray();
        const QJsonArray y = b.toArray();
        if (x.size() != y.size())
            return false;
        for (qsizetype i = 0; i < x.size(); ++i) {
            if (!same(x.at(i), y.at(i)))
                return false;
        }
        return true;
    }
    case QJsonValue::Object: {
        const QJsonObject x = a.toObject();
        const QJsonObject y = b.toObject();
        if (x.keys() != y.keys())
            return false;
        for (auto i = x.begin(), j = y.begin(); i != x.end(); ++i, ++j) {
            if (!same(i.value(), j.value()))
                return false;
        }
        return true;
    }
    default:
        return a == b;
    }
}

// Qt orders and merges keys before dropping a leading raw BOM from them, which can leave its object
// with keys out of order or repeated. No well-formed object can equal that one.
bool hasMisplacedKey(const QJsonValue& value) {
    if (value.isArray()) {
        for (const QJsonValue& item : value.toArray()) {
            if (hasMisplacedKey(item))
                return true;
        }
    } else if (value.isObject()) {
        const QJsonObject object = value.toObject();
        const QStringList keys = object.keys();
        for (qsizetype i = 1; i < keys.size(); ++i) {
            if (!(keys.at(i - 1).toUcs4() < keys.at(i).toUcs4()))
                return true;
        }
        for (const QJsonValue& member : object) {
            if (hasMisplacedKey(member))
                return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto lenient = quillo::LenientJson::parse(bytes);

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return 0;
    const QJsonValue strict =
        document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    if (hasMisplacedKey(strict))
        return 0;
    if (!lenient.ok() || !same(lenient.value(), strict))
        __builtin_trap();
    return 0;
}
