// The stored forms of values: dates, currency, decimals, compressed text.
#include "mdb/ByteView.h"
#include "mdb/Text.h"
#include "mdb/Value.h"

#include <gtest/gtest.h>

using mdb::DateTime;
using mdb::LocalDateTime;

TEST(DateTimes, CountDaysFrom30December1899WithTheTimeAsFraction)
{
    EXPECT_EQ(mdb::toLocalDateTime(DateTime{0}), (LocalDateTime{1899, 12, 30, 0, 0, 0}));
    EXPECT_EQ(mdb::toLocalDateTime(DateTime{27293}), (LocalDateTime{1974, 9, 21, 0, 0, 0}));
    EXPECT_EQ(mdb::toLocalDateTime(DateTime{46347.75}), (LocalDateTime{2026, 11, 21, 18, 0, 0}));
    // Before the zero date the fraction is still the time of day.
    EXPECT_EQ(mdb::toLocalDateTime(DateTime{-1.25}), (LocalDateTime{1899, 12, 29, 6, 0, 0}));
    // A value a hair below midnight rounds to the next day, not to 24:00.
    EXPECT_EQ(mdb::toLocalDateTime(DateTime{46347.9999999}), (LocalDateTime{2026, 11, 22, 0, 0, 0}));

    for (const LocalDateTime& t : {LocalDateTime{2026, 11, 21, 10, 30, 0}, LocalDateTime{1899, 12, 29, 6, 0, 0},
                                   LocalDateTime{2000, 2, 29, 23, 59, 59}, LocalDateTime{1800, 1, 1, 12, 0, 0}})
        EXPECT_EQ(mdb::toLocalDateTime(mdb::fromLocalDateTime(t)), t);
}

TEST(Values, ReadableTexts)
{
    EXPECT_EQ(mdb::toText(mdb::Currency{35000}), "3.5000");
    EXPECT_EQ(mdb::toText(mdb::Currency{-5}), "-0.0005");
    EXPECT_EQ(mdb::toText(444.555), "444.555");
    EXPECT_EQ(mdb::toText(mdb::Value(mdb::Null{})), "");
    mdb::Numeric numeric;
    numeric.scale = 2;
    numeric.magnitude = {0, 0, 1, 0};  // 2^32
    EXPECT_EQ(mdb::toText(numeric), "42949672.96");
    numeric.negative = true;
    numeric.magnitude = {0, 0, 0, 5};
    EXPECT_EQ(mdb::toText(numeric), "-0.05");
}

TEST(Texts, CompressedAndPlainFormsDecodeAlike)
{
    const std::vector<uint8_t> plain = {'T', 0, 'e', 0, 'm', 0, 'p', 0, 0xB0, 0x00, 'C', 0};
    EXPECT_EQ(mdb::decodeText(mdb::ByteView(plain)), "Temp\u00B0C");
    const std::vector<uint8_t> compressed = {0xFF, 0xFE, 'T', 'e', 'm', 'p', 0xB0, 'C'};
    EXPECT_EQ(mdb::decodeText(mdb::ByteView(compressed)), "Temp\u00B0C");
    // A run of two-byte characters between 0x00 switches.
    const std::vector<uint8_t> mixed = {0xFF, 0xFE, 'a', 0x00, 0x16, 0x04, 0x00, 'b'};
    EXPECT_EQ(mdb::decodeText(mdb::ByteView(mixed)), "a\u0416b");

    EXPECT_EQ(mdb::encodeText("Temp\u00B0C", true), compressed);
    EXPECT_EQ(mdb::encodeText("Temp\u00B0C", false), plain);
    EXPECT_EQ(mdb::decodeText(mdb::ByteView(mdb::encodeText("\u0416x", true))), "\u0416x");
}
