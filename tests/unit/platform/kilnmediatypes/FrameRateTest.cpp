#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <gtest/gtest.h>

namespace {

using namespace kilnmediatypes;

TEST(FrameRateTest, DefaultHasNoRate) {
  EXPECT_EQ(FrameRate().GetTicksPerFrame(), 0x7FFFFFFFFFFFFFFF);
  EXPECT_EQ(FrameRate(), kFrameRate_None);
  EXPECT_FALSE(kFrameRate_None.HasRate());
  EXPECT_FALSE(FrameRate(0).HasRate());
  EXPECT_FALSE(FrameRate(-5).HasRate());
  EXPECT_DOUBLE_EQ(kFrameRate_None.ToFramesPerSecond(), 0.0);
  EXPECT_EQ(kFrameRate_None.ToRationalFramesPerSecond(), boost::rational<int64_t>(0));
}

TEST(FrameRateTest, NamedRatesAreExactFrameLengths) {
  EXPECT_EQ(kFrameRate_Film23976.GetTicksPerFrame(), 10594584000);
  EXPECT_EQ(kFrameRate_NTSC2997.GetTicksPerFrame(), 8475667200);
  EXPECT_EQ(kFrameRate_Film23976.ToRationalFramesPerSecond(), boost::rational<int64_t>(24000, 1001));
  EXPECT_EQ(kFrameRate_5994.ToRationalFramesPerSecond(), boost::rational<int64_t>(60000, 1001));
  EXPECT_EQ(kFrameRate_PAL25.ToRationalFramesPerSecond(), boost::rational<int64_t>(25));
  EXPECT_EQ(kAudioSampleRate_44100.ToRationalFramesPerSecond(), boost::rational<int64_t>(44100));
  EXPECT_DOUBLE_EQ(kFrameRate_Film24.ToFramesPerSecond(), 24.0);
}

TEST(FrameRateTest, FromFramesPerSecondMatchesTheNamedRates) {
  EXPECT_EQ(FrameRate::FromFramesPerSecond(24000, 1001), kFrameRate_Film23976);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(30000, 1001), kFrameRate_NTSC2997);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(120000, 1001), kFrameRate_11988);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(25), kFrameRate_PAL25);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(-25, -1), kFrameRate_PAL25);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(192000), kAudioSampleRate_192000);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(0), kFrameRate_None);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(25, 0), kFrameRate_None);
  EXPECT_EQ(FrameRate::FromFramesPerSecond(-25, 1), kFrameRate_None);
}

TEST(FrameRateTest, FromFramesPerSecondRoundsToTheNearestTick) {
  // 254016000000 / 7 = 36288000000 exactly; / 11 = 23092363636.36...
  EXPECT_EQ(FrameRate::FromFramesPerSecond(11).GetTicksPerFrame(), 23092363636);
  // / 13 = 19539692307.69... rounds up.
  EXPECT_EQ(FrameRate::FromFramesPerSecond(13).GetTicksPerFrame(), 19539692308);
}

}  // namespace
