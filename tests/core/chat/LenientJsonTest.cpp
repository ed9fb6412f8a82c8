// SPDX-License-Identifier: Apache-2.0
#include "chat/LenientJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

#include <gtest/gtest.h>

#include <limits>

using quillo::LenientJson;

namespace {

QJsonValue strictRead(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

// Compared as written out: Qt's own QJsonArray == disagrees with its elements' == about a raw BOM
// at the start of a string, which toString() and toJson() both drop.
QByteArray compact(const QJsonValue& value) {
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
}

} // namespace

TEST(LenientJson, ReadsStrictJsonExactlyAsQtDoes) {
    const QByteArray documents[] = {
        R"(["\"\\\/\b\f\n\r\t", "\u00e9\ud83d\ude00", "\ud800", "", "caf)"
        "\xc3\xa9 \xf0\x9f\x99\x82\"]",
        R"({"a":[1,{"b":[true,false,null]},[],{}],"":"empty key","z":{"y":{"x":[[[]]]}}})",
        R"([-0, -0.0, 0.5, 1e308, 5e-324, 1E+2, 9007199254740993, 9007199254740993.0,
            9223372036854775807, -9223372036854775808, 9223372036854775808, 123456789012345678901])",
        R"({"a":1,"b":2,"a":{"c":3}})",
        "\xef\xbb\xbf \r\n\t[ \"\xef\xbb\xbf"
        "bom dropped\" , \"\\n\xef\xbb\xbf"
        "bom kept\" ]",
        // Escapes Qt tolerates though JSON lacks them read Qt's way, not JSON5's.
        R"(["\x41\0\v\q\'", "a\
b"])",
    };
    for (const QByteArray& json : documents) {
        const auto lenient = LenientJson::parse(json);
        ASSERT_TRUE(lenient.ok()) << json.constData() << ": "
                                  << lenient.error().message.toStdString();
        const QJsonValue strict = strictRead(json);
        EXPECT_EQ(compact(lenient.value()), compact(strict));
        // Integer or double matters to callers, and QJsonValue's == lets 1 equal 1.0.
        const QJsonArray got = lenient.value().toArray();
        for (qsizetype i = 0; i < got.size(); ++i) {
            EXPECT_STREQ(got.at(i).toVariant().typeName(),
                         strict.toArray().at(i).toVariant().typeName())
                << json.constData() << " at " << i;
        }
    }
}

TEST(LenientJson, ReadsJson5Forms) {
    const std::pair<QByteArray, QByteArray> cases[] = {
        {"{message: 'hi', $x_1: 2, \xd0\xba\xd0\xbb\xd1\x8e\xd1\x87: 3, _: [],}",
         R"({"message":"hi","$x_1":2,"ключ":3,"_":[]})"},
        {"// reply follows\n[1, /* two */ 2,] // done", "[1,2]"},
        {"[0x1F, -0x10, 0XfF, .5, 5., -.5e1, +3, 1e2]", "[31,-16,255,0.5,5,-5,3,100]"},
        {R"(['it\'s', 'say "hi"', "\u00e9\uD83D\uDE00"])", R"(["it's","say \"hi\"","é😀"])"},
        {"['line \\\xe2\x80\xa8"
         "continued']",
         R"(["line continued"])"},
        {"\xc2\xa0\xef\xbb\xbf\v\f[1,\xe2\x80\x83 2]\xe2\x80\xa8", "[1,2]"},
    };
    for (const auto& [json5, json] : cases) {
        const auto lenient = LenientJson::parse(json5);
        ASSERT_TRUE(lenient.ok()) << json5.constData() << ": "
                                  << lenient.error().message.toStdString();
        EXPECT_EQ(lenient.value(), strictRead(json)) << json5.constData();
    }
    EXPECT_EQ(LenientJson::parse(" 'x' ").value(), QJsonValue(QStringLiteral("x")));
    EXPECT_EQ(LenientJson::parse("-0x8000000000000000").value(),
              QJsonValue(std::numeric_limits<qint64>::min()));
    EXPECT_EQ(LenientJson::parse("null /* c */").value(), QJsonValue(QJsonValue::Null));
}

TEST(LenientJson, RejectsMalformedInput) {
    const QByteArray inputs[] = {
        // Cut short or unbalanced.
        "", " // nothing", "{\"message\":\"hi", "{\"a\":1", "[1,2", "{\"a\":1]", "[1]]", "/* open",
        // Separators, keys and values missing or out of place.
        "[,]", "{,}", "[1,,2]", "{'a':1,,}", "{\"a\":}", "{\"a\" 1}", "{a b: 1}", "[1] x",
        // Broken escapes.
        "[\"\\u12G4\"]", "[\"\\u12\"]", "\"abc\\",
        // Numbers and words that are not values.
        "[01]", "[-]", "[.]", "[1e]", "0x", "0x10000000000000000", "[1e400]", "[Infinity]", "-NaN",
        "tru", "nul"};
    for (const QByteArray& input : inputs)
        EXPECT_FALSE(LenientJson::parse(input).ok()) << input.constData();
}

TEST(LenientJson, ReportsWhereReadingStopped) {
    const auto truncated = LenientJson::parse(R"({"message":"hi)");
    EXPECT_EQ(truncated.error().offset, 14);
    EXPECT_EQ(truncated.error().message, QStringLiteral("unterminated string"));

    const auto noColon = LenientJson::parse(R"({"a" 1})");
    EXPECT_EQ(noColon.error().offset, 5);
    EXPECT_EQ(noColon.error().message, QStringLiteral("expected ':'"));

    EXPECT_EQ(LenientJson::parse("[1] x").error().offset, 4);
    EXPECT_EQ(LenientJson::parse(R"(["ok", "\u12G4"])").error().offset, 8);
}

TEST(LenientJson, LimitsNestingAtQtsDepth) {
    const QByteArray deepest = QByteArray(1024, '[') + QByteArray(1024, ']');
    EXPECT_TRUE(LenientJson::parse(deepest).ok());
    EXPECT_EQ(LenientJson::parse(deepest).value(), strictRead(deepest));

    const auto tooDeep = LenientJson::parse(QByteArray(100000, '['));
    ASSERT_FALSE(tooDeep.ok());
    EXPECT_EQ(tooDeep.error().offset, 1024);
    EXPECT_EQ(LenientJson::parse(QByteArray("{a:").repeated(50000)).error().offset, 1024 * 3);
}

TEST(LenientJson, SurvivesInvalidUtf8) {
    EXPECT_EQ(LenientJson::parse("[\"a\xff\\nb\xed\xa0\x80\"]").value(),
              strictRead(R"(["a\ufffd\nb\ufffd\ufffd\ufffd"])"));
    // A stray byte after a backslash is Latin-1 to Qt; that input is valid for it.
    EXPECT_EQ(LenientJson::parse("[\"\\\xc3\"]").value(), strictRead(R"(["\u00c3"])"));
    EXPECT_FALSE(LenientJson::parse("{\xc3\xa9\xff: 1}").ok());
}
