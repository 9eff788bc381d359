#include <Sill/Timecode.h>

#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <gtest/gtest.h>

namespace {

using kilnmediatypes::FrameRate;
using kilnmediatypes::TickTime;
using kilnmediatypes::TimeDisplay;

TickTime Frames(int64_t count, FrameRate rate) { return TickTime(count * rate.GetTicksPerFrame()); }

kilncore::WideString Text(int64_t frames, FrameRate rate, kilnmediatypes::TimeDisplayType type) {
  return Sill::Timecode(Frames(frames, rate), rate, TimeDisplay(type)).GetString();
}

TEST(TimecodeTest, CountsWholeFramesAtTheNominalRate) {
  EXPECT_EQ(Text(0, kilnmediatypes::kFrameRate_PAL25, kilnmediatypes::kTimeDisplayType_25Timecode), u"00:00:00:00");
  EXPECT_EQ(Text(25 * 3661 + 7, kilnmediatypes::kFrameRate_PAL25, kilnmediatypes::kTimeDisplayType_25Timecode),
            u"01:01:01:07");
  EXPECT_EQ(Text(24 * 10 + 23, kilnmediatypes::kFrameRate_Film23976,
                 kilnmediatypes::kTimeDisplayType_23976Timecode),
            u"00:00:10:23");
}

TEST(TimecodeTest, NonDropFrameAt2997CountsThirtyLabelsASecond) {
  EXPECT_EQ(Text(1800, kilnmediatypes::kFrameRate_NTSC2997, kilnmediatypes::kTimeDisplayType_2997NonDropTimecode),
            u"00:01:00:00");
}

TEST(TimecodeTest, DropFrameSkipsTwoLabelsAMinuteButEachTenth) {
  const auto rate = kilnmediatypes::kFrameRate_NTSC2997;
  const auto drop = kilnmediatypes::kTimeDisplayType_2997DropTimecode;
  EXPECT_EQ(Text(1799, rate, drop), u"00:00:59;29");
  EXPECT_EQ(Text(1800, rate, drop), u"00:01:00;02");
  EXPECT_EQ(Text(17982, rate, drop), u"00:10:00;00");
  EXPECT_EQ(Text(107892, rate, drop), u"01:00:00;00");
}

TEST(TimecodeTest, DropFrameAt5994SkipsFourLabels) {
  EXPECT_EQ(Text(3600, kilnmediatypes::kFrameRate_5994, kilnmediatypes::kTimeDisplayType_5994DropTimecode),
            u"00:01:00;04");
}

TEST(TimecodeTest, DropFrameDisplayAtARateWithoutDroppingIsPlain) {
  Sill::Timecode code(Frames(50, kilnmediatypes::kFrameRate_PAL25), kilnmediatypes::kFrameRate_PAL25,
                      TimeDisplay(kilnmediatypes::kTimeDisplayType_2997DropTimecode));
  EXPECT_FALSE(code.IsDropFrame());
  EXPECT_EQ(code.GetString(), u"00:00:02:00");
}

TEST(TimecodeTest, TimeBetweenFramesRoundsDown) {
  const auto rate = kilnmediatypes::kFrameRate_PAL25;
  Sill::Timecode code(TickTime(rate.GetTicksPerFrame() * 3 - 1), rate, TimeDisplay(kilnmediatypes::kTimeDisplayType_25Timecode));
  EXPECT_EQ(code.GetFrameCount(), 2);
}

TEST(TimecodeTest, FrameDisplayGivesTheFrameCount) {
  EXPECT_EQ(Text(1234, kilnmediatypes::kFrameRate_PAL25, kilnmediatypes::kTimeDisplayType_Frames), u"1234");
}

TEST(TimecodeTest, NoRateGivesZero) {
  EXPECT_EQ(Sill::Timecode(TickTime(12345), FrameRate(), TimeDisplay()).GetString(), u"00:00:00:00");
}

TEST(TimecodeTest, NegativeTimeHasASign) {
  EXPECT_EQ(Text(-26, kilnmediatypes::kFrameRate_PAL25, kilnmediatypes::kTimeDisplayType_25Timecode), u"-00:00:01:01");
}

TEST(TimecodeTest, HoursRunPastADay) {
  EXPECT_EQ(Text(int64_t{25} * 3600 * 25, kilnmediatypes::kFrameRate_PAL25, kilnmediatypes::kTimeDisplayType_25Timecode),
            u"25:00:00:00");
}

}  // namespace
