#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/ColorProfile.h>
#include <kilnmediatypes/color/ColorSpace.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace kilnmediatypes;
using color::AddColorSpaceToCache;
using color::ColorSpace;
using color::FindColorSpaceInCache;
using color::GetDefaultColorSpace;
using kilncore::utility::Guid;

TEST(ColorSpaceTest, DefaultIsEmptyWithTheNilGuid) {
  EXPECT_TRUE(ColorSpace().IsEmpty());
  EXPECT_EQ(GetDefaultColorSpace(), ColorSpace());
  EXPECT_TRUE(ColorSpace().ToGuid().IsNil());
}

TEST(ColorSpaceTest, ToGuidIsStableAndFollowsTheContent) {
  const ColorSpace rec709("Rec. 709");
  EXPECT_FALSE(rec709.IsEmpty());
  EXPECT_FALSE(rec709.ToGuid().IsNil());
  EXPECT_EQ(rec709.ToGuid(), ColorSpace("Rec. 709").ToGuid());
  EXPECT_NE(rec709.ToGuid(), ColorSpace("Rec. 2020").ToGuid());
  EXPECT_NE(rec709.ToGuid(), ColorSpace("Rec. 709", {1}).ToGuid());
  // Name and definition bytes can't be regrouped into the same identity.
  EXPECT_NE(ColorSpace("ab", {'c'}).ToGuid(), ColorSpace("a", {'b', 'c'}).ToGuid());
  EXPECT_FALSE(ColorSpace("", {1, 2}).IsEmpty());
}

TEST(ColorSpaceTest, ToGuidIsTheSameInEveryRun) {
  // Fixed values: frame identifiers built from them persist in caches, so the
  // identity of a colour space must never change between runs or builds.
  EXPECT_EQ(ColorSpace("Rec. 709").ToGuid().AsUTF8String(), "A60A2C48-DB1D-D223-B434-8CDAC080CAF7");
  EXPECT_EQ(ColorSpace("ACEScg", {0, 1, 2}).ToGuid().AsUTF8String(),
            "A2738EAB-D837-3098-A73A-C7C8023C4B32");
}

TEST(ColorSpaceTest, CacheFindsAddedSpacesByIdentity) {
  const ColorSpace space("Cached test space", {9, 8, 7});
  EXPECT_FALSE(FindColorSpaceInCache(space.ToGuid()).has_value());
  AddColorSpaceToCache(space);
  AddColorSpaceToCache(space);
  auto found = FindColorSpaceInCache(space.ToGuid());
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(*found, space);
}

TEST(ColorSpaceTest, EmptySpaceIsNotCached) {
  AddColorSpaceToCache(ColorSpace());
  EXPECT_FALSE(FindColorSpaceInCache(Guid()).has_value());
}

TEST(ColorSpaceTest, CacheIsSafeAcrossThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 100; ++i) {
        const ColorSpace space("space " + std::to_string(i % 10), {static_cast<uint8_t>(t % 2)});
        AddColorSpaceToCache(space);
        EXPECT_TRUE(FindColorSpaceInCache(space.ToGuid()).has_value());
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(ColorProfileTest, DefaultIsEmpty) {
  EXPECT_TRUE(ColorProfile().IsEmpty());
  EXPECT_NE(ColorProfile({1, 2}), ColorProfile());
}

TEST(AudioChannelDescriptionTest, LayoutsCompareByChannel) {
  const std::vector<AudioChannelDescription> stereo = {{kAudioChannelLabel_Left, 0},
                                                       {kAudioChannelLabel_Right, 0}};
  std::vector<AudioChannelDescription> other = stereo;
  EXPECT_EQ(stereo, other);
  other[1].label = kAudioChannelLabel_Center;
  EXPECT_NE(stereo, other);
  EXPECT_EQ(AudioChannelDescription().label, kAudioChannelLabel_Discrete);
  EXPECT_NE((AudioChannelDescription{kAudioChannelLabel_Discrete, 0}),
            (AudioChannelDescription{kAudioChannelLabel_Discrete, 1}));
}

}  // namespace
