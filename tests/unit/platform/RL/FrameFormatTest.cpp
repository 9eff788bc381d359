#include <RL/FrameFormat.h>

#include <kilncore/utility/HashValueMixerState.h>
#include <kilncore/utility/Murmur3MixerState.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

using kilncore::utility::Guid;
using kilncore::utility::HashValueMixerState;
using kilncore::utility::Murmur3MixerState;
using RL::FrameFormat;

FrameFormat SampleFormat() {
  FrameFormat format;
  format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  format.pixelFormatFlags = 0;
  format.width = 1920;
  format.height = 1080;
  format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_NTSC601;
  format.fieldType = kilnmediatypes::kFieldType_UpperFirst;
  format.renderQuality = 3;
  format.captionStreamFormat = 0x10;
  return format;
}

// The bytes of SampleFormat() in the documented layout, written out by hand.
constexpr std::array<uint8_t, 40> kSampleBytes = {
    0x41, 0x52, 0x47, 0x42,  // fourcc 'BGRA', little-endian
    0x00, 0x80, 0x07, 0x00,  // properties 0x00078000
    0x00, 0x00, 0x00, 0x00,  // pixel format flags
    0x80, 0x07, 0x00, 0x00,  // width 1920
    0x38, 0x04, 0x00, 0x00,  // height 1080
    0x0A, 0x00, 0x00, 0x00,  // ratio numerator 10
    0x0B, 0x00, 0x00, 0x00,  // ratio denominator 11
    0x01, 0x00, 0x00, 0x00,  // field type: upper first
    0x03, 0x00, 0x00, 0x00,  // render quality 3
    0x10, 0x00, 0x00, 0x00,  // caption stream format
};

template <class State>
Guid HashOf(const FrameFormat& format) {
  State state;
  format.MixInWithHash(state);
  Guid result;
  GetHashResult(state, result);
  return result;
}

TEST(FrameFormatTest, DefaultAsksForWhateverTheSourceHas) {
  const FrameFormat format;
  EXPECT_EQ(format.pixelFormat, kilnmediatypes::kPixelFormat_Invalid);
  EXPECT_EQ(format.pixelFormatFlags, 0u);
  EXPECT_EQ(format.width, 0);
  EXPECT_EQ(format.height, 0);
  EXPECT_TRUE(format.pixelAspectRatio.IsAny());
  EXPECT_EQ(format.fieldType, kilnmediatypes::kFieldType_Any);
  EXPECT_EQ(format.renderQuality, 0);
  EXPECT_EQ(format.captionStreamFormat, 0u);
}

TEST(FrameFormatTest, EqualityComparesEveryMember) {
  const FrameFormat base = SampleFormat();
  EXPECT_EQ(base, SampleFormat());
  auto differs = [&](auto change) {
    FrameFormat other = base;
    change(other);
    return !(other == base);
  };
  EXPECT_TRUE(differs([](FrameFormat& f) { f.pixelFormat.fourcc ^= 1; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.pixelFormat.properties ^= 1; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.pixelFormatFlags = 1; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.width += 1; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.height += 1; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Square; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.fieldType = kilnmediatypes::kFieldType_LowerFirst; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.renderQuality = 4; }));
  EXPECT_TRUE(differs([](FrameFormat& f) { f.captionStreamFormat = 0; }));
}

TEST(FrameFormatTest, HashBytesFollowTheDocumentedLayout) {
  EXPECT_EQ(SampleFormat().GetHashBytes(), kSampleBytes);
}

TEST(FrameFormatTest, MixInWithHashFeedsExactlyTheHashBytes) {
  Murmur3MixerState expected;
  UpdateHashState(expected, kSampleBytes.data(), kSampleBytes.size());
  Guid expectedGuid;
  GetHashResult(expected, expectedGuid);
  EXPECT_EQ(HashOf<Murmur3MixerState>(SampleFormat()), expectedGuid);
}

// Pinned against XXH3-128 of the 40 sample bytes computed with libxxhash's
// one-shot function, outside the streaming state. If these change, every frame
// identifier and every cached frame key changes with them.
TEST(FrameFormatTest, HashOfSampleFormatIsPinned) {
  EXPECT_EQ(HashOf<HashValueMixerState>(SampleFormat()), Guid("24D687D4-4B08-D0C3-7BD2-21E935532637"));
  EXPECT_EQ(HashOf<Murmur3MixerState>(SampleFormat()), Guid("5AFB6D42-CC65-DBF8-0652-8C01704A0DDB"));
}

TEST(FrameFormatTest, EqualRatiosOfDifferentTermsHashEqual) {
  FrameFormat a = SampleFormat();
  FrameFormat b = SampleFormat();
  a.pixelAspectRatio = {4, 3};
  b.pixelAspectRatio = {8, 6};
  ASSERT_EQ(a, b);
  EXPECT_EQ(a.GetHashBytes(), b.GetHashBytes());
  b.pixelAspectRatio = {-4, -3};
  ASSERT_EQ(a, b);
  EXPECT_EQ(a.GetHashBytes(), b.GetHashBytes());
}

TEST(FrameFormatTest, AnyRatioIsFedAsItIs) {
  FrameFormat format = SampleFormat();
  format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Any;
  const auto bytes = format.GetHashBytes();
  for (size_t i = 20; i < 28; ++i) EXPECT_EQ(bytes[i], 0u) << "byte " << i;
}

TEST(FrameFormatTest, ExtremeRatioDoesNotOverflow) {
  FrameFormat format = SampleFormat();
  format.pixelAspectRatio = {INT32_MIN, INT32_MIN};
  const auto bytes = format.GetHashBytes();
  EXPECT_EQ(bytes[20], 1u);
  EXPECT_EQ(bytes[24], 1u);
}

TEST(FrameFormatTest, EveryMemberChangesTheHash) {
  const Guid base = HashOf<Murmur3MixerState>(SampleFormat());
  FrameFormat format = SampleFormat();
  format.pixelFormatFlags = 7;
  EXPECT_NE(HashOf<Murmur3MixerState>(format), base);
  format = SampleFormat();
  format.captionStreamFormat = 0;
  EXPECT_NE(HashOf<Murmur3MixerState>(format), base);
  format = SampleFormat();
  std::swap(format.width, format.height);
  EXPECT_NE(HashOf<Murmur3MixerState>(format), base);
}

}  // namespace
