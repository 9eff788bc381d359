#include <kilncore/string/NumberToString.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kilncore::string {
namespace {

TEST(NumberToStringTest, FrameRatesAsTheAnalysisLinesShowThem) {
  // 254016000000 / 10594584000 ticks: the NTSC rate, shown with 3 decimals.
  EXPECT_EQ(NumberToString(254016000000.0 / 10594584000.0, 1, 3, kNumberToStringNoFlags, 31),
            u"23.976");
  EXPECT_EQ(NumberToString(25.0, 1, 2, kNumberToStringNoFlags, 31), u"25.00");
  EXPECT_EQ(NumberToString(0.0, 1, 2, kNumberToStringNoFlags, 31), u"0.00");
}

TEST(NumberToStringTest, RoundsAndPads) {
  EXPECT_EQ(NumberToString(2.675, 1, 0, 0, 31), u"3");
  EXPECT_EQ(NumberToString(5.5, 3, 1, 0, 31), u"005.5");
  EXPECT_EQ(NumberToString(-5.5, 3, 1, 0, 31), u"-005.5");
  EXPECT_EQ(NumberToString(0.25, 0, 2, 0, 31), u"0.25");
}

TEST(NumberToStringTest, FlagsTrimZerosAndShowThePlusSign) {
  EXPECT_EQ(NumberToString(25.5, 1, 3, kNumberToStringTrimTrailingZeros, 31), u"25.5");
  EXPECT_EQ(NumberToString(25.0, 1, 3, kNumberToStringTrimTrailingZeros, 31), u"25");
  EXPECT_EQ(NumberToString(1.5, 1, 1, kNumberToStringShowPlusSign, 31), u"+1.5");
}

TEST(NumberToStringTest, ValueThatRoundsToZeroHasNoSign) {
  EXPECT_EQ(NumberToString(-0.001, 1, 2, 0, 31), u"0.00");
  EXPECT_EQ(NumberToString(-0.0, 1, 0, 0, 31), u"0");
}

TEST(NumberToStringTest, LongValuesFitTheLimit) {
  const WideString huge = NumberToString(1e300, 1, 2, 0, 31);
  EXPECT_LE(huge.size(), 31u);
  EXPECT_EQ(huge, u"1.00e+300");
  EXPECT_EQ(NumberToString(123456.0, 1, 0, 0, 3).size(), 3u);
}

TEST(NumberToStringTest, NonFiniteValues) {
  EXPECT_EQ(NumberToString(std::numeric_limits<double>::quiet_NaN(), 1, 2, 0, 31), u"nan");
  EXPECT_EQ(NumberToString(std::numeric_limits<double>::infinity(), 1, 2, 0, 31), u"inf");
  EXPECT_EQ(NumberToString(-std::numeric_limits<double>::infinity(), 1, 2, 0, 31), u"-inf");
}

TEST(NumberToStringTest, OutOfRangeArgumentsAreClamped) {
  EXPECT_EQ(NumberToString(1.5, 1, -3, 0, 31), u"2");
  EXPECT_EQ(NumberToString(1.0, 1, 100, 0, 31), u"1.00000000000000000");
  EXPECT_EQ(NumberToString(1.0, 1, 2, 0, 0), u"");
}

}  // namespace
}  // namespace kilncore::string
