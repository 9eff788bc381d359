#include <kilncore/utility/HashMixerState.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilncore/utility/Murmur3MixerState.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

namespace kilncore::utility {
namespace {

template <typename State>
Guid HashOf(std::string_view text) {
  State state;
  UpdateHashState(state, text.data(), text.size());
  Guid result;
  GetHashResult(state, result);
  return result;
}

// Pinned results. A change of any of these means stored keys (frame cache
// entries, request keys) would no longer match: the algorithm, the seed or the
// byte layout of the result changed.
TEST(HashMixerStateTest, HashValueMixerStateMatchesPinnedVectors) {
  // XXH3-128 of no input with seed 0, as published by xxHash.
  EXPECT_EQ(HashOf<HashValueMixerState>("").AsUTF8String(),
            "99AA06D3-0147-98D8-6001-C324468D497F");
  EXPECT_EQ(HashOf<HashValueMixerState>("TetherFuture").AsUTF8String(),
            "4A38CC8F-DACC-EA03-632C-5DD7339586AC");
}

TEST(HashMixerStateTest, Murmur3MixerStateMatchesPinnedVectors) {
  EXPECT_EQ(HashOf<Murmur3MixerState>("").AsUTF8String(),
            "7521A972-D46D-62E6-EB6B-11C9EA6D284A");
  EXPECT_EQ(HashOf<Murmur3MixerState>("TetherSource::GetIdentifierForSourceVideo").AsUTF8String(),
            "172520EB-831C-F8A4-8A84-60F5C493E442");
}

// A request key as the module builds it: a literal, a path as UTF-16 units,
// and the 16 bytes of an identifier in text order.
TEST(HashMixerStateTest, RequestKeyShapedInputMatchesPinnedVector) {
  HashValueMixerState state;
  UpdateHashState(state, "TetherFuture", 12);
  const std::u16string path = u"/a.marlp";
  UpdateHashState(state, path.data(), path.size() * sizeof(char16_t));
  const Guid id(0xEC341E53, 0x60C2, 0x4D89, {0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B});
  uint8_t bytes[16];
  Guid::GuidToBytes(id, bytes);
  UpdateHashState(state, bytes, sizeof(bytes));
  Guid key;
  GetHashResult(state, key);
  EXPECT_EQ(key.AsUTF8String(), "AD0A2784-A909-A5E4-89C9-D92C5197E048");
}

TEST(HashMixerStateTest, TheTwoStatesGiveDifferentResultsForEqualInput) {
  EXPECT_NE(HashOf<HashValueMixerState>("same"), HashOf<Murmur3MixerState>("same"));
  EXPECT_NE(HashValueMixerState::kSeed, Murmur3MixerState::kSeed);
}

TEST(HashMixerStateTest, SplittingTheInputDoesNotChangeTheResult) {
  const std::string text = "TetherSource::GetContentState and some more bytes to feed";
  for (size_t split = 0; split <= text.size(); ++split) {
    Murmur3MixerState state;
    UpdateHashState(state, text.data(), split);
    UpdateHashState(state, text.data() + split, text.size() - split);
    Guid result;
    GetHashResult(state, result);
    EXPECT_EQ(result, HashOf<Murmur3MixerState>(text)) << split;
  }
}

TEST(HashMixerStateTest, OrderOfInputMatters) {
  HashValueMixerState ab;
  UpdateHashState(ab, "a", 1);
  UpdateHashState(ab, "b", 1);
  HashValueMixerState ba;
  UpdateHashState(ba, "b", 1);
  UpdateHashState(ba, "a", 1);
  EXPECT_NE(ab.Result(), ba.Result());
}

TEST(HashMixerStateTest, OneChangedByteChangesTheResult) {
  std::string prefs(200, 'x');
  const Guid before = HashOf<Murmur3MixerState>(prefs);
  prefs[117] = 'y';
  EXPECT_NE(HashOf<Murmur3MixerState>(prefs), before);
}

TEST(HashMixerStateTest, EmptyUpdateChangesNothing) {
  HashValueMixerState state;
  UpdateHashState(state, "abc", 3);
  const Guid before = state.Result();
  UpdateHashState(state, nullptr, 0);
  EXPECT_EQ(state.Result(), before);
}

TEST(HashMixerStateTest, ResultLeavesTheStateRunning) {
  HashValueMixerState state;
  UpdateHashState(state, "ab", 2);
  Guid partial;
  GetHashResult(state, partial);
  EXPECT_EQ(partial, HashOf<HashValueMixerState>("ab"));
  UpdateHashState(state, "c", 1);
  EXPECT_EQ(state.Result(), HashOf<HashValueMixerState>("abc"));
}

TEST(HashMixerStateTest, CopyContinuesIndependently) {
  HashValueMixerState state;
  UpdateHashState(state, "ab", 2);
  HashValueMixerState copy = state;
  UpdateHashState(copy, "c", 1);
  EXPECT_EQ(copy.Result(), HashOf<HashValueMixerState>("abc"));
  EXPECT_EQ(state.Result(), HashOf<HashValueMixerState>("ab"));
  state.Reset();
  EXPECT_EQ(state.Result(), HashOf<HashValueMixerState>(""));
}

TEST(HashMixerStateTest, BaseReferenceServesBothStates) {
  const auto mixIn = [](HashMixerState& state) { UpdateHashState(state, "frame", 5); };
  HashValueMixerState value;
  Murmur3MixerState murmur;
  mixIn(value);
  mixIn(murmur);
  EXPECT_EQ(value.Result(), HashOf<HashValueMixerState>("frame"));
  EXPECT_EQ(murmur.Result(), HashOf<Murmur3MixerState>("frame"));
}

}  // namespace
}  // namespace kilncore::utility
