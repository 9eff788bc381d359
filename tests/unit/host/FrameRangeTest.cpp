#include <host/cli/FrameRange.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace tetherhost {
namespace {

using Frames = std::vector<int64_t>;

TEST(FrameRangeTest, OneNumberIsOneFrame) { EXPECT_EQ(FrameRange::Parse("12").frames(), Frames{12}); }

TEST(FrameRangeTest, DashedRangeIncludesBothEnds) {
  EXPECT_EQ(FrameRange::Parse("3-6").frames(), (Frames{3, 4, 5, 6}));
}

TEST(FrameRangeTest, StepTakesEveryNthFrameOfTheRange) {
  EXPECT_EQ(FrameRange::Parse("0-25/10").frames(), (Frames{0, 10, 20}));
}

TEST(FrameRangeTest, CommasJoinPartsInTheirOrder) {
  EXPECT_EQ(FrameRange::Parse("9,0-1,5").frames(), (Frames{9, 0, 1, 5}));
}

TEST(FrameRangeTest, ClippingDropsFramesAtOrBeyondTheEnd) {
  EXPECT_EQ(FrameRange::Parse("8,2,10,9").ClippedTo(10).frames(), (Frames{8, 2, 9}));
}

TEST(FrameRangeTest, MalformedListsAreRejectedWithTheirText) {
  for (const char* text : {"", "a", "1-", "-3", "5-2", "0-9/0", "1,,2", "1.5", "2-3x"}) {
    try {
      FrameRange::Parse(text);
      ADD_FAILURE() << "accepted '" << text << "'";
    } catch (const std::invalid_argument& e) {
      EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
    }
  }
}

TEST(FrameRangeTest, ListLongerThanTheLimitIsRejected) {
  EXPECT_THROW(FrameRange::Parse("0-10", 10), std::invalid_argument);
  EXPECT_EQ(FrameRange::Parse("0-9", 10).frames().size(), 10u);
}

}  // namespace
}  // namespace tetherhost
