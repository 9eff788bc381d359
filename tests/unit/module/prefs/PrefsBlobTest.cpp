#include <TetherMedia/Prefs.h>
#include <module/PrefsBlob.h>

#include <RL/BinaryData.h>
#include <kilncore/utility/Guid.h>
#include <tether/SourceInfo.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using kilncore::WideString;
using kilncore::utility::Guid;

const Guid kSourceID(u"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9");

RL::BinaryData BlobOf(const std::vector<uint8_t>& bytes) { return RL::BinaryData(bytes); }

// The identifier's text as blob bytes, UTF-16 little-endian.
std::vector<uint8_t> SourceIDBytes(const Guid& id) {
  std::vector<uint8_t> bytes;
  for (char16_t unit : id.AsString()) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

TEST(PrefsBlobTest, NullGuidStringIsTheNilGuidTextOf36Units) {
  EXPECT_EQ(TetherMedia::kNullGuidString.size(), 36u);
  EXPECT_EQ(TetherMedia::kNullGuidString, Guid().AsString());
}

TEST(PrefsBlobTest, SourceIDToPrefsMakesA72ByteBlobThatReadsBackTheSameID) {
  const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(kSourceID);
  EXPECT_EQ(prefs.GetSize(), 72u);
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), kSourceID);
  EXPECT_EQ(TetherMedia::PrefsToSourceIDAsString(prefs), kSourceID.AsString());
  EXPECT_TRUE(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs).empty());
}

TEST(PrefsBlobTest, SourceIDIsStoredAsUpperCaseUtf16LittleEndian) {
  const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(kSourceID);
  EXPECT_EQ(prefs.ToVector(), SourceIDBytes(kSourceID));
  EXPECT_EQ(prefs.GetData()[0], '0');
  EXPECT_EQ(prefs.GetData()[1], 0);
  EXPECT_EQ(prefs.GetData()[2], 'A');
  EXPECT_EQ(prefs.GetData()[3], 0);
}

TEST(PrefsBlobTest, NilSourceIDRoundTrips) {
  const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(Guid());
  EXPECT_EQ(TetherMedia::PrefsToSourceIDAsString(prefs), TetherMedia::kNullGuidString);
  EXPECT_TRUE(TetherMedia::PrefsToSourceID(prefs).IsNil());
}

TEST(PrefsBlobTest, BuildAppendsOptionsAsLittleEndianUnitsWithoutTerminator) {
  const WideString options = u"{\u00E9\u20AC}";
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), options);
  std::vector<uint8_t> expected = SourceIDBytes(kSourceID);
  for (uint8_t byte : {0x7B, 0x00, 0xE9, 0x00, 0xAC, 0x20, 0x7D, 0x00}) {
    expected.push_back(byte);
  }
  EXPECT_EQ(prefs.ToVector(), expected);
}

TEST(PrefsBlobTest, BuildWithEmptyOptionsGivesTheIdentifierAlone) {
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), u"");
  EXPECT_EQ(prefs, TetherMedia::SourceIDToPrefs(kSourceID));
}

TEST(PrefsBlobTest, BuildTakesTheIdentifierLengthOnTrust) {
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(u"AB", u"C");
  EXPECT_EQ(prefs.ToVector(), (std::vector<uint8_t>{'A', 0, 'B', 0, 'C', 0}));
}

TEST(PrefsBlobTest, OptionsReadBackExactlyAsBuilt) {
  const WideString options = u"{\"applicationID\":\"Marl\",\"note\":\"\u00FC\U0001F600\"}";
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), options);
  EXPECT_EQ(prefs.GetSize(), 72u + 2 * options.size());
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs), options);
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), kSourceID);
}

TEST(PrefsBlobTest, OptionsCodeUnitsAreCopiedEvenWhenNotValidUtf16) {
  const WideString options{u'\xD800', u'x', u'\xDFFF'};
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), options);
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs), options);
}

TEST(PrefsBlobTest, EmptyBlobHasNoOptions) {
  EXPECT_TRUE(TetherMedia::PrefsToApplicationSpecificRenderOptions(RL::BinaryData()).empty());
}

TEST(PrefsBlobTest, BlobOf73BytesHasNoOptions) {
  std::vector<uint8_t> bytes = SourceIDBytes(kSourceID);
  bytes.push_back('{');
  ASSERT_EQ(bytes.size(), 73u);
  EXPECT_TRUE(TetherMedia::PrefsToApplicationSpecificRenderOptions(BlobOf(bytes)).empty());
  EXPECT_EQ(TetherMedia::PrefsToSourceID(BlobOf(bytes)), kSourceID);
}

TEST(PrefsBlobTest, OddLastByteIsDropped) {
  std::vector<uint8_t> bytes = SourceIDBytes(kSourceID);
  for (uint8_t byte : {0x7B, 0x00, 0x7D, 0x00, 0x78}) {
    bytes.push_back(byte);
  }
  ASSERT_EQ(bytes.size(), 77u);
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(BlobOf(bytes)), u"{}");
}

TEST(PrefsBlobTest, SingleUnitOfOptionsIsRead) {
  std::vector<uint8_t> bytes = SourceIDBytes(kSourceID);
  bytes.push_back(0x34);
  bytes.push_back(0x12);
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(BlobOf(bytes)), WideString(1, u'\x1234'));
}

TEST(PrefsBlobTest, SourceIDTextIsReadWhateverTheBlobHoldsAfterIt) {
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(), u"not json");
  EXPECT_EQ(TetherMedia::PrefsToSourceIDAsString(prefs), kSourceID.AsString());
}

TEST(PrefsBlobTest, LowerCaseIdentifierTextReadsAsTheSameGuid) {
  const RL::BinaryData prefs = TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(
      u"0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", u"");
  EXPECT_EQ(TetherMedia::PrefsToSourceIDAsString(prefs), u"0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9");
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), kSourceID);
}

TEST(PrefsBlobTest, IdentifierTextThatIsNoGuidReadsAsNil) {
  const RL::BinaryData prefs = TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(
      u"this text is not a guid, 36 units..", u"{}");
  ASSERT_EQ(TetherMedia::PrefsToSourceIDAsString(prefs).size(), 36u);
  EXPECT_TRUE(TetherMedia::PrefsToSourceID(prefs).IsNil());
}

TEST(PrefsBlobTest, SourceInfoToPrefsConvertsUtf8OptionsToUtf16) {
  tether::SourceInfo info;
  info.sourceID = kSourceID;
  info.appSpecificRenderOptions = "{\"applicationID\":\"Marl\",\"t\":\"\xC3\xA9\xE2\x82\xAC\"}";
  const RL::BinaryData prefs = TetherMedia::SourceInfoToPrefs(info);
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), kSourceID);
  EXPECT_EQ(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs),
            u"{\"applicationID\":\"Marl\",\"t\":\"\u00E9\u20AC\"}");
}

TEST(PrefsBlobTest, SourceInfoWithoutOptionsGivesA72ByteBlob) {
  tether::SourceInfo info;
  info.sourceID = kSourceID;
  EXPECT_EQ(TetherMedia::SourceInfoToPrefs(info), TetherMedia::SourceIDToPrefs(kSourceID));
}

}  // namespace
