#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace kilnmediatypes;

TEST(TickTimeTest, InvalidTimeHasItsFixedTickCount) {
  EXPECT_EQ(kTickTime_Invalid.GetTicks(), -101606400000000000);
  EXPECT_EQ(static_cast<uint64_t>(kTickTime_Invalid.GetTicks()), 0xFE9705847D180000u);
  EXPECT_FALSE(kTickTime_Invalid.IsValid());
  EXPECT_TRUE(TickTime().IsValid());
  EXPECT_EQ(TickTime().GetTicks(), 0);
}

TEST(TickTimeTest, SecondsAndComparisons) {
  EXPECT_EQ(TickTime::FromSeconds(1).GetTicks(), 254016000000);
  EXPECT_DOUBLE_EQ(TickTime(127008000000).ToSeconds(), 0.5);
  EXPECT_LT(TickTime(1), TickTime(2));
  EXPECT_EQ(TickTime(5) + TickTime(7), TickTime(12));
  EXPECT_EQ(TickTime(5) - TickTime(7), TickTime(-2));
  EXPECT_EQ(-TickTime(3), TickTime(-3));
}

TEST(TickTimeTest, ConstructionFromFramesMultipliesByTheFrameLength) {
  EXPECT_EQ(TickTime(24, kFrameRate_Film24), TickTime::FromSeconds(1));
  EXPECT_EQ(TickTime(30000, kFrameRate_NTSC2997), TickTime::FromSeconds(1001));
  EXPECT_EQ(TickTime(-2, kFrameRate_PAL25).GetTicks(), -2 * 10160640000);
  EXPECT_EQ(TickTime(48000, kAudioSampleRate_48000), TickTime::FromSeconds(1));
}

TEST(TickTimeTest, ConstructionFromFramesSaturatesAndNeedsARate) {
  EXPECT_EQ(TickTime(std::numeric_limits<int64_t>::max(), kFrameRate_60).GetTicks(),
            std::numeric_limits<int64_t>::max());
  EXPECT_EQ(TickTime(std::numeric_limits<int64_t>::min(), kFrameRate_60).GetTicks(),
            std::numeric_limits<int64_t>::min());
  EXPECT_EQ(TickTime(10, kFrameRate_None).GetTicks(), 0);
  EXPECT_EQ(TickTime(10, FrameRate(0)).GetTicks(), 0);
}

TEST(TickTimeTest, ToFrameGivesTheFrameThatHoldsTheTime) {
  const int64_t length = kFrameRate_Film23976.GetTicksPerFrame();
  EXPECT_EQ(TickTime(0).ToFrame64(kFrameRate_Film23976), 0);
  EXPECT_EQ(TickTime(length - 1).ToFrame64(kFrameRate_Film23976), 0);
  EXPECT_EQ(TickTime(length).ToFrame64(kFrameRate_Film23976), 1);
  EXPECT_EQ(TickTime(-1).ToFrame64(kFrameRate_Film23976), -1);
  EXPECT_EQ(TickTime(-length).ToFrame64(kFrameRate_Film23976), -1);
  EXPECT_EQ(TickTime(-length - 1).ToFrame64(kFrameRate_Film23976), -2);
  EXPECT_EQ(TickTime::FromSeconds(1001).ToFrame64(kFrameRate_NTSC2997), 30000);
}

TEST(TickTimeTest, FramesRoundTripAtEveryCommonRate) {
  for (FrameRate rate : {kFrameRate_Film23976, kFrameRate_Film24, kFrameRate_PAL25,
                         kFrameRate_NTSC2997, kFrameRate_30, kFrameRate_50, kFrameRate_5994,
                         kFrameRate_60, kAudioSampleRate_44100, kAudioSampleRate_48000}) {
    for (int64_t frame : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{123456789}}) {
      EXPECT_EQ(TickTime(frame, rate).ToFrame64(rate), frame) << rate.GetTicksPerFrame();
    }
  }
}

TEST(TickTimeTest, ToFrame32SaturatesAndNoRateGivesZero) {
  const TickTime big(std::numeric_limits<int64_t>::max());
  EXPECT_EQ(big.ToFrame32(kAudioSampleRate_192000), std::numeric_limits<int32_t>::max());
  const TickTime small(std::numeric_limits<int64_t>::min());
  EXPECT_EQ(small.ToFrame32(kAudioSampleRate_192000), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(small.ToFrame64(kAudioSampleRate_192000),
            std::numeric_limits<int64_t>::min() / 1323000 - 1);
  EXPECT_EQ(TickTime(1000).ToFrame32(kAudioSampleRate_48000), 0);
  EXPECT_EQ(TickTime::FromSeconds(5).ToFrame64(kFrameRate_None), 0);
  EXPECT_EQ(TickTime::FromSeconds(5).ToFrame32(FrameRate(0)), 0);
}

}  // namespace
