#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <gtest/gtest.h>

namespace {

using namespace kilnmediatypes;

TimeDisplay ForRate(FrameRate rate, bool drop) {
  return GetTimeDisplayForFrameRate(rate, drop, false, kTimeDisplayType_2997DropTimecode, false);
}

TEST(TimeDisplayTest, DefaultIsNone) {
  EXPECT_EQ(TimeDisplay(), TimeDisplay(999));
  EXPECT_EQ(TimeDisplay().GetType(), kTimeDisplayType_None);
  EXPECT_NE(TimeDisplay(102), TimeDisplay(999));
}

TEST(TimeDisplayTest, DropFrameTimecodesAndTheirRates) {
  EXPECT_TRUE(TimeDisplay(kTimeDisplayType_2997DropTimecode).IsDropFrame());
  EXPECT_TRUE(TimeDisplay(kTimeDisplayType_5994DropTimecode).IsDropFrame());
  EXPECT_FALSE(TimeDisplay(kTimeDisplayType_2997NonDropTimecode).IsDropFrame());
  EXPECT_EQ(TimeDisplay(kTimeDisplayType_2997DropTimecode).GetFrameRate(), kFrameRate_NTSC2997);
  EXPECT_EQ(TimeDisplay(kTimeDisplayType_25Timecode).GetFrameRate(), kFrameRate_PAL25);
  EXPECT_EQ(TimeDisplay(kTimeDisplayType_Frames).GetFrameRate(), kFrameRate_None);
  EXPECT_EQ(TimeDisplay().GetFrameRate(), kFrameRate_None);
}

TEST(GetTimeDisplayForFrameRateTest, TableRatesGiveTheirTimecode) {
  EXPECT_EQ(ForRate(kFrameRate_Film23976, false), TimeDisplay(kTimeDisplayType_23976Timecode));
  EXPECT_EQ(ForRate(kFrameRate_Film24, false), TimeDisplay(kTimeDisplayType_24Timecode));
  EXPECT_EQ(ForRate(kFrameRate_PAL25, false), TimeDisplay(kTimeDisplayType_25Timecode));
  EXPECT_EQ(ForRate(kFrameRate_30, false), TimeDisplay(kTimeDisplayType_30Timecode));
  EXPECT_EQ(ForRate(kFrameRate_50, false), TimeDisplay(kTimeDisplayType_50Timecode));
  EXPECT_EQ(ForRate(kFrameRate_60, false), TimeDisplay(kTimeDisplayType_60Timecode));
  EXPECT_EQ(ForRate(kFrameRate_48, false), TimeDisplay(kTimeDisplayType_48Timecode));
  EXPECT_EQ(ForRate(kFrameRate_120, false), TimeDisplay(kTimeDisplayType_120Timecode));
}

TEST(GetTimeDisplayForFrameRateTest, DropFrameAppliesAtNTSCRatesOnly) {
  EXPECT_EQ(ForRate(FrameRate(8475667200), true), TimeDisplay(102));
  EXPECT_EQ(ForRate(FrameRate(8475667200), false),
            TimeDisplay(kTimeDisplayType_2997NonDropTimecode));
  EXPECT_EQ(ForRate(kFrameRate_5994, true), TimeDisplay(kTimeDisplayType_5994DropTimecode));
  EXPECT_EQ(ForRate(kFrameRate_5994, false), TimeDisplay(kTimeDisplayType_5994NonDropTimecode));
  EXPECT_EQ(ForRate(kFrameRate_PAL25, true), TimeDisplay(kTimeDisplayType_25Timecode));
}

TEST(GetTimeDisplayForFrameRateTest, OtherRatesGiveTheDefault) {
  const FrameRate fifteen = FrameRate::FromFramesPerSecond(15);
  EXPECT_EQ(ForRate(fifteen, false), TimeDisplay(102));
  EXPECT_EQ(ForRate(kFrameRate_None, false), TimeDisplay(102));
  EXPECT_EQ(GetTimeDisplayForFrameRate(fifteen, false, false, 999, false), TimeDisplay(999));
  EXPECT_EQ(GetTimeDisplayForFrameRate(fifteen, false, true, 999, false),
            TimeDisplay(kTimeDisplayType_Frames));
  EXPECT_EQ(GetTimeDisplayForFrameRate(kFrameRate_None, false, true, 999, false), TimeDisplay(999));
}

TEST(GetTimeDisplayForFrameRateTest, NearbyRatesMatchOnlyWhenAsked) {
  // 29.97 as a double, not 30000/1001: about 1 ppm off.
  const FrameRate approximate(static_cast<int64_t>(254016000000.0 / 29.97));
  EXPECT_EQ(ForRate(approximate, true), TimeDisplay(102));  // the default, not a match
  EXPECT_EQ(GetTimeDisplayForFrameRate(approximate, false, false, 999, true),
            TimeDisplay(kTimeDisplayType_2997NonDropTimecode));
  // 23.976 and 24 stay apart.
  EXPECT_EQ(GetTimeDisplayForFrameRate(kFrameRate_Film23976, false, false, 999, true),
            TimeDisplay(kTimeDisplayType_23976Timecode));
  const FrameRate between = FrameRate::FromFramesPerSecond(23988, 1000);
  EXPECT_EQ(GetTimeDisplayForFrameRate(between, false, false, 999, true), TimeDisplay(999));
}

}  // namespace
