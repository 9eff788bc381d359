#include "SourceTestSupport.h"

#include <gtest/gtest.h>

#include <kilncore/utility/Murmur3MixerState.h>
#include <kilnmediatypes/color/ColorSpace.h>

#include <xxhash.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::utility::Guid;
using tether::testing::ScriptedSourceSetup;

class TetherSourceIdentityTest : public SourceTest {};

TEST_F(TetherSourceIdentityTest, EqualArgumentsGiveEqualIdentifiersAlsoInTwoSourcesOfOneItem) {
  SourceRef first = MakeSource();
  SourceRef second = MakeSource();
  const Guid a = IdentifierOf(*first, 1000, NativeFormat(), prefs);
  EXPECT_EQ(a, IdentifierOf(*first, 1000, NativeFormat(), prefs));
  EXPECT_EQ(a, IdentifierOf(*second, 1000, NativeFormat(), prefs));
  EXPECT_FALSE(a.IsNil());
}

TEST_F(TetherSourceIdentityTest, TimeFormatAndEveryByteOfThePrefsChangeTheIdentifier) {
  SourceRef source = MakeSource();
  const Guid base = IdentifierOf(*source, 1000, NativeFormat(), prefs);
  EXPECT_NE(base, IdentifierOf(*source, 1001, NativeFormat(), prefs));
  RL::FrameFormat other = NativeFormat();
  other.renderQuality = 1;
  EXPECT_NE(base, IdentifierOf(*source, 1000, other, prefs));
  std::vector<uint8_t> bytes = prefs.ToVector();
  bytes.back() ^= 1;
  EXPECT_NE(base, IdentifierOf(*source, 1000, NativeFormat(), RL::BinaryData(bytes)));
  EXPECT_NE(base, IdentifierOf(*source, 1000, NativeFormat(), RL::BinaryData()));
}

TEST_F(TetherSourceIdentityTest, AFontGuidChangesTheIdentifierAndTheNilGuidBringsTheOldOneBack) {
  SourceRef source = MakeSource();
  const Guid base = IdentifierOf(*source, 0, NativeFormat(), prefs);
  source->SetRuntimeFontGuid(Guid("01234567-89AB-CDEF-0123-456789ABCDEF"));
  const Guid withFonts = IdentifierOf(*source, 0, NativeFormat(), prefs);
  EXPECT_NE(base, withFonts);
  Guid stored;
  source->GetRuntimeFontGuid(stored);
  EXPECT_EQ(stored, Guid("01234567-89AB-CDEF-0123-456789ABCDEF"));
  source->SetRuntimeFontGuid(Guid());
  EXPECT_EQ(base, IdentifierOf(*source, 0, NativeFormat(), prefs));
}

TEST_F(TetherSourceIdentityTest, AColourSpaceEntersTheIdentifier) {
  SourceRef plain = MakeSource();
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.colorSpace = tether::ColorSpace{"ACEScg"};
  SourceRef managed = MakeSource(setup, 0, kOtherItem);
  EXPECT_NE(IdentifierOf(*plain, 0, NativeFormat(), prefs), IdentifierOf(*managed, 0, NativeFormat(), prefs));
}

TEST_F(TetherSourceIdentityTest, AnotherContentStateFromSetSourceChangesTheIdentifier) {
  SourceRef source = MakeSource();
  const Guid before = IdentifierOf(*source, 0, NativeFormat(), prefs);
  ScriptedSourceSetup changed = ScriptedSourceSetup::Typical();
  changed.info.contentState = Guid("99999999-8888-7777-6666-555555555555");
  source->SetSource(ConnectItem(kOtherItem, changed));
  EXPECT_NE(before, IdentifierOf(*source, 0, NativeFormat(), prefs));
}

TEST_F(TetherSourceIdentityTest, ContentStateOfTheItemsOwnSourceIsTheServersAndPerClipSourcesDiffer) {
  const Guid serverState = ScriptedSourceSetup::Typical().info.contentState;
  Guid own, clip5, clip6;
  MakeSource(ScriptedSourceSetup::Typical(), 0)->GetContentState(own);
  MakeSource(ScriptedSourceSetup::Typical(), 5)->GetContentState(clip5);
  MakeSource(ScriptedSourceSetup::Typical(), 6)->GetContentState(clip6);
  EXPECT_EQ(own, serverState);
  EXPECT_NE(clip5, serverState);
  EXPECT_NE(clip5, clip6);
  Guid again;
  MakeSource(ScriptedSourceSetup::Typical(), 5)->GetContentState(again);
  EXPECT_EQ(clip5, again);
}

// The hash input written out by hand from the documented layout, hashed by
// libxxhash in one shot: the running state, the format's bytes and the order
// of the fields must all agree with it.
Guid HashByHand(const std::vector<uint8_t>& input, uint64_t seed) {
  const XXH128_hash_t hash = XXH3_128bits_withSeed(input.data(), input.size(), seed);
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, hash);
  char text[37];
  static const char* const kHex = "0123456789ABCDEF";
  int at = 0;
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text[at++] = '-';
    text[at++] = kHex[canonical.digest[i] >> 4];
    text[at++] = kHex[canonical.digest[i] & 0xF];
  }
  text[at] = 0;
  return Guid(std::string(text));
}

void Append(std::vector<uint8_t>& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

TEST_F(TetherSourceIdentityTest, FrameIdentifierFollowsTheDocumentedLayoutAndIsPinned) {
  SourceRef source = MakeSource();
  const int64_t ticks = 10584000000;  // frame 1 at 24 fps
  const RL::FrameFormat format = NativeFormat();

  std::vector<uint8_t> input;
  const std::string domain = "TetherSource::GetIdentifierForSourceVideo";
  input.insert(input.end(), domain.begin(), domain.end());
  Append(input, static_cast<uint64_t>(ticks), 8);
  Append(input, format.pixelFormat.fourcc, 4);
  Append(input, format.pixelFormat.properties, 4);
  Append(input, format.pixelFormatFlags, 4);
  Append(input, static_cast<uint32_t>(format.width), 4);
  Append(input, static_cast<uint32_t>(format.height), 4);
  Append(input, 1, 4);  // ratio 1:1
  Append(input, 1, 4);
  Append(input, static_cast<uint32_t>(format.fieldType), 4);
  Append(input, static_cast<uint32_t>(format.renderQuality), 4);
  Append(input, format.captionStreamFormat, 4);
  uint8_t state[16];
  Guid::GuidToBytes(ScriptedSourceSetup::Typical().info.contentState, state);
  input.insert(input.end(), state, state + 16);
  input.insert(input.end(), prefs.GetData(), prefs.GetData() + prefs.GetSize());

  const Guid identifier = IdentifierOf(*source, ticks, format, prefs);
  EXPECT_EQ(identifier, HashByHand(input, kilncore::utility::Murmur3MixerState::kSeed));
  // Pinned: the same input gives this identifier in every process and build.
  // A change here changes every key of the frame cache.
  EXPECT_EQ(identifier.AsUTF8String(), "22786CBF-9057-74FB-290B-B9D49A031DAD");
}

TEST_F(TetherSourceIdentityTest, ColourSpaceAndFontGuidFollowTheDocumentedLayoutAndArePinned) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.colorSpace = tether::ColorSpace{"ACEScg"};
  SourceRef source = MakeSource(setup);
  const Guid fonts("01234567-89AB-CDEF-0123-456789ABCDEF");
  source->SetRuntimeFontGuid(fonts);
  const RL::FrameFormat format = NativeFormat();

  std::vector<uint8_t> input;
  const std::string domain = "TetherSource::GetIdentifierForSourceVideo";
  input.insert(input.end(), domain.begin(), domain.end());
  Append(input, 0, 8);
  const auto formatBytes = format.GetHashBytes();
  input.insert(input.end(), formatBytes.begin(), formatBytes.end());
  uint8_t bytes[16];
  Guid::GuidToBytes(setup.info.contentState, bytes);
  input.insert(input.end(), bytes, bytes + 16);
  // No prefs: nothing of them is fed.
  Guid::GuidToBytes(kilnmediatypes::color::ColorSpace("ACEScg").ToGuid(), bytes);
  input.insert(input.end(), bytes, bytes + 16);
  Guid::GuidToBytes(fonts, bytes);
  input.insert(input.end(), bytes, bytes + 16);

  const Guid identifier = IdentifierOf(*source, 0, format, RL::BinaryData());
  EXPECT_EQ(identifier, HashByHand(input, kilncore::utility::Murmur3MixerState::kSeed));
  // Pinned like the plain identifier: every process computes this for this
  // input.
  EXPECT_EQ(identifier.AsUTF8String(), "8AC06C57-0CE4-8E5E-A99B-2E17DBE5E234");
}

TEST_F(TetherSourceIdentityTest, AFontGuidSetWhileIdentifiersAreMadeGivesOnlyTheOldOrTheNewIdentifier) {
  SourceRef source = MakeSource();
  const Guid first("01234567-89AB-CDEF-0123-456789ABCDEF");
  const Guid second("FEDCBA98-7654-3210-FEDC-BA9876543210");
  source->SetRuntimeFontGuid(first);
  const Guid withFirst = IdentifierOf(*source, 0, NativeFormat(), prefs);
  source->SetRuntimeFontGuid(second);
  const Guid withSecond = IdentifierOf(*source, 0, NativeFormat(), prefs);

  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 0; i < 2000; ++i) source->SetRuntimeFontGuid(i % 2 == 0 ? first : second);
    done = true;
  });
  int mixed = 0;
  int made = 0;
  while (!done || made < 100) {
    const Guid identifier = IdentifierOf(*source, 0, NativeFormat(), prefs);
    if (identifier != withFirst && identifier != withSecond) ++mixed;
    ++made;
  }
  writer.join();
  EXPECT_EQ(mixed, 0);
}

TEST_F(TetherSourceIdentityTest, PerClipContentStateFollowsTheDocumentedLayout) {
  const Guid serverState = ScriptedSourceSetup::Typical().info.contentState;
  std::vector<uint8_t> input;
  const std::string domain = "TetherSource::GetContentState";
  input.insert(input.end(), domain.begin(), domain.end());
  uint8_t state[16];
  Guid::GuidToBytes(serverState, state);
  input.insert(input.end(), state, state + 16);
  Append(input, 5, 4);
  Guid clip5;
  MakeSource(ScriptedSourceSetup::Typical(), 5)->GetContentState(clip5);
  EXPECT_EQ(clip5, HashByHand(input, 0));
}

}  // namespace
}  // namespace TetherMedia::testing
