// SPDX-License-Identifier: Apache-2.0
#include "language/MessageLayout.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(MessageLayout, ReadingsStandAboveTheSegmentsThatHaveOne) {
    // 日本 keeps its kanji under the kana transform, so only the kana word gets a reading.
    const QString text = QStringLiteral("日本 ありがとう!");
    const MessageLayout layout = layOutMessage({text, {}, QStringLiteral("Japanese"), true});
    ASSERT_EQ(layout.segments.size(), 2);
    ASSERT_EQ(layout.readings.size(), 1);
    EXPECT_EQ(layout.readings[0].range, layout.segments[1].range());
    EXPECT_EQ(layout.readings[0].text, u"arigatou");

    // The same text with readings off, and a language without them, has segments only.
    EXPECT_TRUE(layOutMessage({text, {}, QStringLiteral("Japanese"), false}).readings.isEmpty());
    const MessageLayout spanish = layOutMessage({QStringLiteral("Hola, ¿cómo estás?"),
                                                 {{QStringLiteral("cómo"), QStringLiteral("how")}},
                                                 QStringLiteral("Spanish"),
                                                 true});
    EXPECT_TRUE(spanish.readings.isEmpty());
    ASSERT_EQ(spanish.segments.size(), 3);
    EXPECT_EQ(spanish.segments[1].gloss, u"how");
}
