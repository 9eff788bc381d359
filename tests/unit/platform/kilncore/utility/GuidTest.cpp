#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <unordered_set>
#include <vector>

namespace kilncore::utility {
namespace {

// The identifier of the module's implementation, which the host stores.
const Guid kImplementationID(0xEC341E53, 0x60C2, 0x4D89,
                             {0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B});

TEST(GuidTest, DefaultIsNilAndPrintsAsZeros) {
  const Guid nil;
  EXPECT_TRUE(nil.IsNil());
  EXPECT_EQ(nil.AsString(), u"00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(nil.AsString().size(), 36u);
}

TEST(GuidTest, AsStringIsUpperCaseInTextOrder) {
  EXPECT_EQ(kImplementationID.AsString(), u"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B");
  EXPECT_EQ(kImplementationID.AsUTF8String(), "EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B");
  EXPECT_FALSE(kImplementationID.IsNil());
}

TEST(GuidTest, ImplementationIDRoundTripsThroughBothTextForms) {
  EXPECT_EQ(Guid(kImplementationID.AsString()), kImplementationID);
  EXPECT_EQ(Guid(kImplementationID.AsUTF8String()), kImplementationID);
  const Guid parsed(u"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B");
  EXPECT_EQ(parsed.Data1, 0xEC341E53u);
  EXPECT_EQ(parsed.Data2, 0x60C2u);
  EXPECT_EQ(parsed.Data3, 0x4D89u);
  const std::array<uint8_t, 8> data4{0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B};
  EXPECT_EQ(parsed.Data4, data4);
}

TEST(GuidTest, ParsesLowerAndMixedCase) {
  EXPECT_EQ(Guid("ec341e53-60c2-4d89-abfc-bdb5c0ff2e0b"), kImplementationID);
  EXPECT_EQ(Guid(u"Ec341E53-60c2-4D89-aBfC-bdb5C0FF2e0b"), kImplementationID);
  // The module's class identifier is written with lower-case letters.
  const Guid classID("8B701830-D959-420f-AA9C-5392B2F1B17E");
  EXPECT_EQ(classID.AsUTF8String(), "8B701830-D959-420F-AA9C-5392B2F1B17E");
}

TEST(GuidTest, MalformedTextGivesNil) {
  const char* const malformed[] = {
      "",
      "EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0",     // too short
      "EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B0",   // too long
      "EC341E53060C2-4D89-ABFC-BDB5C0FF2E0B",    // hyphen missing
      "EC341E5-360C2-4D89-ABFC-BDB5C0FF2E0B",    // hyphen misplaced
      "GC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B",    // not hexadecimal
      "{EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B}",  // braces aren't part of the form
      " EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0",    // leading blank
      "EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0\xC3",  // stray byte
  };
  for (const char* text : malformed) {
    EXPECT_TRUE(Guid(text).IsNil()) << text;
  }
  EXPECT_TRUE(Guid(u"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E\u0660B").IsNil());  // Arabic digit
  EXPECT_TRUE(Guid(static_cast<const char*>(nullptr)).IsNil());
  EXPECT_TRUE(Guid(static_cast<const char16_t*>(nullptr)).IsNil());
  EXPECT_TRUE(Guid(std::u16string_view(u"EC341E53-60C2-4D89-ABFC-\xD800\xDC00" u"B5C0FF2E0B"))
                  .IsNil());
}

TEST(GuidTest, GuidToBytesGivesTextOrder) {
  uint8_t bytes[16];
  Guid::GuidToBytes(kImplementationID, bytes);
  const uint8_t expected[16] = {0xEC, 0x34, 0x1E, 0x53, 0x60, 0xC2, 0x4D, 0x89,
                                0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B};
  EXPECT_EQ(std::memcmp(bytes, expected, 16), 0);
  EXPECT_EQ(Guid::FromBytes(bytes), kImplementationID);
}

TEST(GuidTest, CreateUniqueGivesDistinctVersion4Identifiers) {
  std::unordered_set<Guid> seen;
  for (int i = 0; i < 10000; ++i) {
    const Guid guid = Guid::CreateUnique();
    EXPECT_FALSE(guid.IsNil());
    EXPECT_EQ(guid.Data3 >> 12, 4);             // version 4
    EXPECT_EQ(guid.Data4[0] & 0xC0, 0x80);      // RFC 4122 variant
    EXPECT_TRUE(seen.insert(guid).second);
    EXPECT_EQ(Guid(guid.AsString()), guid);
  }
}

TEST(GuidTest, OrdersByRawBytes) {
  std::vector<Guid> guids;
  for (int i = 0; i < 100; ++i) guids.push_back(Guid::CreateUnique());
  std::sort(guids.begin(), guids.end());
  for (size_t i = 1; i < guids.size(); ++i) {
    EXPECT_LT(std::memcmp(&guids[i - 1], &guids[i], sizeof(Guid)), 0);
  }
  const Guid a(1, 0, 0, {});
  EXPECT_EQ(a <=> a, std::strong_ordering::equal);
  EXPECT_LT(Guid(), a);
  std::set<Guid> ordered{a, Guid(), a};
  EXPECT_EQ(ordered.size(), 2u);
}

}  // namespace
}  // namespace kilncore::utility
