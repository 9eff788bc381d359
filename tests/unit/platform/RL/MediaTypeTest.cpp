#include <RL/MediaType.h>

#include <gtest/gtest.h>

namespace {

TEST(MediaTypeTest, VideoAndAudioAreDistinctAndSet) {
  EXPECT_FALSE(RL::kMediaType_Video.IsNil());
  EXPECT_FALSE(RL::kMediaType_Audio.IsNil());
  EXPECT_NE(RL::kMediaType_Video, RL::kMediaType_Audio);
}

}  // namespace
