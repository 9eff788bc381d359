#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/RatioTime.h>
#include <kilnmediatypes/TickTime.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace kilnmediatypes;
using Rational = boost::rational<int64_t>;

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

TEST(RatioTimeTest, WholeAndFractionalSeconds) {
  EXPECT_EQ(RatioTimeToTime(Rational(0)), TickTime(0));
  EXPECT_EQ(RatioTimeToTime(Rational(1)), TickTime(254016000000));
  EXPECT_EQ(RatioTimeToTime(Rational(-3, 2)), TickTime(-381024000000));
  EXPECT_EQ(TimeToRatioTime(TickTime(254016000000)), Rational(1));
  EXPECT_EQ(TimeToRatioTime(TickTime(-381024000000)), Rational(-3, 2));
  EXPECT_EQ(TimeToRatioTime(TickTime(0)), Rational(0));
}

TEST(RatioTimeTest, FrameTimesAtNTSCRatesAreExact) {
  // Frame n of 30000/1001 starts at n * 1001/30000 s.
  for (int64_t n : {int64_t{1}, int64_t{29}, int64_t{107892}, int64_t{1} << 30}) {
    const Rational seconds(n * 1001, 30000);
    const TickTime time = RatioTimeToTime(seconds);
    EXPECT_EQ(time, TickTime(n, kFrameRate_NTSC2997)) << n;
    EXPECT_EQ(TimeToRatioTime(time), seconds) << n;
  }
  EXPECT_EQ(RatioTimeToTime(Rational(1001, 24000)), TickTime(10594584000));
  EXPECT_EQ(RatioTimeToTime(Rational(1, 48000)), TickTime(5292000));
  EXPECT_EQ(RatioTimeToTime(Rational(1, 44100)), TickTime(5760000));
  EXPECT_EQ(RatioTimeToTime(Rational(1, 90000)), TickTime(2822400));
}

TEST(RatioTimeTest, InvalidTimeRoundTrips) {
  EXPECT_EQ(TimeToRatioTime(kTickTime_Invalid), Rational(-400000));
  EXPECT_EQ(RatioTimeToTime(Rational(-400000)), kTickTime_Invalid);
}

TEST(RatioTimeTest, EveryTickTimeRoundTripsExactly) {
  for (int64_t ticks : {kMax, kMin, kMin + 1, kMax - 1, int64_t{1}, int64_t{-1},
                        int64_t{254016000000} - 1, int64_t{123456789012345678}}) {
    const Rational seconds = TimeToRatioTime(TickTime(ticks));
    EXPECT_EQ(RatioTimeToTime(seconds), TickTime(ticks)) << ticks;
  }
  EXPECT_EQ(TimeToRatioTime(TickTime(1)), Rational(1, 254016000000));
  // INT64_MIN shares the factor 2^12 with the tick rate.
  EXPECT_EQ(TimeToRatioTime(TickTime(kMin)), Rational(kMin / 4096, 254016000000 / 4096));
}

TEST(RatioTimeTest, LargeNumeratorsDoNotOverflow) {
  // numerator * 254016000000 is far beyond 64 bits; the result is not.
  EXPECT_EQ(RatioTimeToTime(Rational(kMax, 254016000000)), TickTime(kMax));
  EXPECT_EQ(RatioTimeToTime(Rational(kMin / 4096, 254016000000 / 4096)), TickTime(kMin));
  EXPECT_EQ(RatioTimeToTime(Rational(kMax / 2, kMax)), TickTime(127008000000));  // rounds 0.49999...
}

TEST(RatioTimeTest, TimesBeyondTheTickRangeSaturate) {
  EXPECT_EQ(RatioTimeToTime(Rational(kMax)), TickTime(kMax));
  EXPECT_EQ(RatioTimeToTime(Rational(kMin + 1)), TickTime(kMin));
  EXPECT_EQ(RatioTimeToTime(Rational(kMax, 2)), TickTime(kMax));
}

TEST(RatioTimeTest, InexactTimesRoundToTheNearestTickHalvesAwayFromZero) {
  // Fractions of one tick.
  EXPECT_EQ(RatioTimeToTime(Rational(1, 254016000000 * 3)), TickTime(0));
  EXPECT_EQ(RatioTimeToTime(Rational(2, 254016000000 * 3)), TickTime(1));
  EXPECT_EQ(RatioTimeToTime(Rational(1, 254016000000 * 2)), TickTime(1));
  EXPECT_EQ(RatioTimeToTime(Rational(-1, 254016000000 * 2)), TickTime(-1));
  EXPECT_EQ(RatioTimeToTime(Rational(-1, 254016000000 * 3)), TickTime(0));
  EXPECT_EQ(RatioTimeToTime(Rational(-2, 254016000000 * 3)), TickTime(-1));
  EXPECT_EQ(RatioTimeToTime(Rational(1, 11)), TickTime(23092363636));  // .36 down
  EXPECT_EQ(RatioTimeToTime(Rational(1, 13)), TickTime(19539692308));  // .69 up
}

}  // namespace
