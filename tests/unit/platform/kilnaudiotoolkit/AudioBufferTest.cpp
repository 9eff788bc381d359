#include <kilnaudiotoolkit/AudioBuffer.h>

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace {

using kilnaudiotoolkit::AudioBuffer;

TEST(AudioBufferTest, DefaultBufferHasNoChannelsAndNoFrames) {
  const AudioBuffer buffer;
  EXPECT_EQ(buffer.GetChannelCount(), 0u);
  EXPECT_EQ(buffer.GetFrameCount(), 0u);
  EXPECT_EQ(buffer.GetChannels(), nullptr);
  EXPECT_EQ(buffer.GetChannel(0), nullptr);
  EXPECT_FALSE(buffer.IsFilled());
}

TEST(AudioBufferTest, OwningBufferStartsSilentWithOneArrayPerChannel) {
  const AudioBuffer buffer(2, 4);
  ASSERT_EQ(buffer.GetChannelCount(), 2u);
  EXPECT_EQ(buffer.GetFrameCount(), 4u);
  EXPECT_TRUE(buffer.OwnsSamples());
  ASSERT_NE(buffer.GetChannels(), nullptr);
  EXPECT_NE(buffer.GetChannel(0), buffer.GetChannel(1));
  for (uint32_t c = 0; c < 2; ++c) {
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(buffer.GetChannel(c)[i], 0.0f);
  }
}

TEST(AudioBufferTest, ChannelBeyondTheCountIsNull) {
  const AudioBuffer buffer(2, 4);
  EXPECT_EQ(buffer.GetChannel(2), nullptr);
  EXPECT_EQ(buffer.GetChannel(31), nullptr);
}

TEST(AudioBufferTest, ViewWritesReachTheCallersArrays) {
  std::array<float, 3> left{};
  std::array<float, 3> right{};
  std::array<float*, 2> channels{left.data(), right.data()};
  AudioBuffer buffer(channels.data(), 2, 3);
  EXPECT_FALSE(buffer.OwnsSamples());
  EXPECT_EQ(buffer.GetChannel(0), left.data());
  buffer.GetChannel(1)[2] = 0.5f;
  EXPECT_EQ(right[2], 0.5f);
}

TEST(AudioBufferTest, MarkFilledIsSeenAndZeroClearsIt) {
  AudioBuffer buffer(1, 2);
  buffer.GetChannel(0)[0] = 1.0f;
  buffer.MarkFilled();
  EXPECT_TRUE(buffer.IsFilled());
  buffer.Zero();
  EXPECT_FALSE(buffer.IsFilled());
  EXPECT_EQ(buffer.GetChannel(0)[0], 0.0f);
}

TEST(AudioBufferTest, ZeroSilencesTheCallersArraysAndSkipsNullOnes) {
  std::array<float, 2> left{1.0f, 2.0f};
  std::array<float*, 2> channels{left.data(), nullptr};
  AudioBuffer buffer(channels.data(), 2, 2);
  buffer.Zero();
  EXPECT_EQ(left[0], 0.0f);
  EXPECT_EQ(left[1], 0.0f);
}

TEST(AudioBufferTest, CopyOwnsItsSamplesAndOutlivesChangesToTheOriginal) {
  std::array<float, 2> left{0.25f, 0.75f};
  std::array<float*, 1> channels{left.data()};
  AudioBuffer view(channels.data(), 1, 2);
  view.MarkFilled();

  const AudioBuffer copy(view);
  left = {9.0f, 9.0f};

  EXPECT_TRUE(copy.OwnsSamples());
  EXPECT_NE(copy.GetChannel(0), left.data());
  EXPECT_EQ(copy.GetChannelCount(), 1u);
  EXPECT_EQ(copy.GetFrameCount(), 2u);
  EXPECT_TRUE(copy.IsFilled());
  EXPECT_EQ(copy.GetChannel(0)[0], 0.25f);
  EXPECT_EQ(copy.GetChannel(0)[1], 0.75f);
}

TEST(AudioBufferTest, CopyAssignmentReplacesShapeAndSamples) {
  AudioBuffer source(2, 1);
  source.GetChannel(1)[0] = 3.0f;
  AudioBuffer target(1, 5);
  target = source;
  EXPECT_EQ(target.GetChannelCount(), 2u);
  EXPECT_EQ(target.GetFrameCount(), 1u);
  EXPECT_EQ(target.GetChannel(1)[0], 3.0f);
  EXPECT_NE(target.GetChannel(1), source.GetChannel(1));
}

TEST(AudioBufferTest, CopyFromPutsACachedBlockBackIntoTheCallersArrays) {
  AudioBuffer cached(2, 2);
  cached.GetChannel(0)[0] = 1.0f;
  cached.GetChannel(0)[1] = 2.0f;
  cached.GetChannel(1)[0] = 3.0f;
  cached.GetChannel(1)[1] = 4.0f;
  cached.MarkFilled();

  std::array<float, 2> left{};
  std::array<float, 2> right{};
  std::array<float*, 2> channels{left.data(), right.data()};
  AudioBuffer host(channels.data(), 2, 2);
  host.CopyFrom(cached);

  EXPECT_EQ(left, (std::array<float, 2>{1.0f, 2.0f}));
  EXPECT_EQ(right, (std::array<float, 2>{3.0f, 4.0f}));
  EXPECT_TRUE(host.IsFilled());
}

TEST(AudioBufferTest, CopyFromTakesAnUnfilledMarkToo) {
  AudioBuffer filled(1, 1);
  filled.MarkFilled();
  filled.CopyFrom(AudioBuffer(1, 1));
  EXPECT_FALSE(filled.IsFilled());
}

TEST(AudioBufferTest, CopyFromAShorterOrNarrowerBufferSilencesTheRest) {
  AudioBuffer source(1, 2);
  source.GetChannel(0)[0] = 1.0f;
  source.GetChannel(0)[1] = 2.0f;
  AudioBuffer target(2, 3);
  target.GetChannel(0)[2] = 7.0f;
  target.GetChannel(1)[0] = 7.0f;

  target.CopyFrom(source);

  EXPECT_EQ(target.GetChannel(0)[0], 1.0f);
  EXPECT_EQ(target.GetChannel(0)[1], 2.0f);
  EXPECT_EQ(target.GetChannel(0)[2], 0.0f);
  for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(target.GetChannel(1)[i], 0.0f);
}

TEST(AudioBufferTest, CopyFromALongerBufferCopiesOnlyWhatFits) {
  AudioBuffer source(1, 4);
  for (uint32_t i = 0; i < 4; ++i) source.GetChannel(0)[i] = static_cast<float>(i + 1);
  AudioBuffer target(1, 2);
  target.CopyFrom(source);
  EXPECT_EQ(target.GetChannel(0)[0], 1.0f);
  EXPECT_EQ(target.GetChannel(0)[1], 2.0f);
}

TEST(AudioBufferTest, CopyFromItselfChangesNothing) {
  AudioBuffer buffer(1, 2);
  buffer.GetChannel(0)[1] = 5.0f;
  buffer.MarkFilled();
  buffer.CopyFrom(buffer);
  EXPECT_EQ(buffer.GetChannel(0)[1], 5.0f);
  EXPECT_TRUE(buffer.IsFilled());
}

TEST(AudioBufferTest, MovedOwningBufferKeepsItsSamples) {
  AudioBuffer source(1, 2);
  source.GetChannel(0)[1] = 6.0f;
  const AudioBuffer moved(std::move(source));
  EXPECT_EQ(moved.GetChannel(0)[1], 6.0f);
  EXPECT_EQ(source.GetChannelCount(), 0u);  // NOLINT: checking the moved-from state
}

}  // namespace
