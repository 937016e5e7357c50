#include "core/text/Cp1252.h"

#include <gtest/gtest.h>

TEST(Cp1252, EveryByteDecodesAndEncodesBackUnchanged)
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    const QString text = Cp1252::decode(all);
    ASSERT_EQ(text.size(), 256);
    EXPECT_FALSE(text.contains(QChar::ReplacementCharacter));
    EXPECT_EQ(Cp1252::encode(text), all);
}

TEST(Cp1252, KnowsTheCodePageCharacters)
{
    EXPECT_EQ(Cp1252::decode("\x80"), QString::fromUtf16(u"\u20AC"));
    EXPECT_EQ(Cp1252::decode("\xB0" "C"), QString::fromUtf16(u"\u00B0C"));
    EXPECT_EQ(Cp1252::decode("\x93" "x" "\x94"), QString::fromUtf16(u"\u201Cx\u201D"));
    EXPECT_EQ(Cp1252::encode(QString::fromUtf16(u"\u0416")), "?");  // not in the code page
}
