#include <FarsideCL/AssetName.h>
#include <FarsideCL/FarsideAssetName.h>
#include <FarsideCL/FarsideLinkedAsset.h>

#include <gtest/gtest.h>

namespace {

using FarsideCL::AssetName;
using FarsideCL::FarsideLinkedAsset;
using kilncore::utility::ImmutableString;

TEST(AssetNameTest, JSONTextKeepsProductionVersionAssetOrder) {
  const AssetName name(ImmutableString("Trailer"), ImmutableString("v3"), ImmutableString("Titles"));
  EXPECT_EQ(name.ToJSONString(), R"({"production":"Trailer","version":"v3","asset":"Titles"})");
  EXPECT_EQ(name.ToJSONWideString(), uR"({"production":"Trailer","version":"v3","asset":"Titles"})");
}

TEST(AssetNameTest, JSONTextEscapesItsValues) {
  const AssetName name(ImmutableString("A \"B\"\\C"), ImmutableString(""), ImmutableString("\xC3\xA9t\xC3\xA9"));
  const AssetName back = AssetName::CreateFromString(name.ToJSONString());
  EXPECT_EQ(back, name);
}

TEST(AssetNameTest, ReadsItsOwnTextBackInBothWidths) {
  const AssetName name(ImmutableString("Trailer"), ImmutableString("v3"), ImmutableString("Titles"));
  EXPECT_EQ(AssetName::CreateFromString(name.ToJSONString()), name);
  EXPECT_EQ(AssetName::CreateFromString(name.ToJSONWideString()), name);
}

TEST(AssetNameTest, ReadsAnyMemberOrderAndWhiteSpace) {
  const AssetName name = AssetName::CreateFromString(
      u" { \"asset\" : \"Titles\", \"version\" : \"\", \"production\" : \"Trailer\", \"x\": 1 } ");
  ASSERT_TRUE(name.IsValid());
  EXPECT_EQ(name.GetProduction(), ImmutableString("Trailer"));
  EXPECT_EQ(name.GetVersion(), ImmutableString());
  EXPECT_EQ(name.GetAsset(), ImmutableString("Titles"));
}

TEST(AssetNameTest, PathsAndMalformedTextsAreInvalid) {
  EXPECT_FALSE(AssetName::CreateFromString(u"/Volumes/Media/Show.marlp").IsValid());
  EXPECT_FALSE(AssetName::CreateFromString(u"").IsValid());
  EXPECT_FALSE(AssetName::CreateFromString(u"{\"production\":\"P\",").IsValid());
  EXPECT_FALSE(AssetName::CreateFromString(u"{\"production\":\"P\",\"asset\":\"A\"}").IsValid());
  EXPECT_FALSE(AssetName::CreateFromString(u"{\"production\":\"P\",\"version\":1,\"asset\":\"A\"}").IsValid());
  EXPECT_FALSE(AssetName::CreateFromString(u"{\"production\":\"\",\"version\":\"v\",\"asset\":\"A\"}").IsValid());
  EXPECT_FALSE(AssetName().IsValid());
}

TEST(AssetNameTest, IsFarsideAssetNameAgreesWithValidity) {
  EXPECT_TRUE(FarsideCL::IsFarsideAssetName(u"{\"production\":\"P\",\"version\":\"\",\"asset\":\"A\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"{\"production\":\"P\",\"version\":\"\",\"asset\":\"\"}"));
  EXPECT_FALSE(FarsideCL::IsFarsideAssetName(u"C:\\x\\Show.marlp"));
}

TEST(FarsideLinkedAssetTest, TextFormHasFourMembersInOrder) {
  const FarsideLinkedAsset link(ImmutableString("Trailer"), ImmutableString("/Shots/Titles"),
                                ImmutableString("v3"), ImmutableString("Titles"));
  EXPECT_EQ(link.ToString(),
            R"({"production":"Trailer","mediaPath":"/Shots/Titles","version":"v3","asset":"Titles"})");
  EXPECT_EQ(FarsideLinkedAsset::CreateFromString(link.ToString()), link);
}

TEST(FarsideLinkedAssetTest, MissingMediaPathReadsAsEmpty) {
  const auto link =
      FarsideLinkedAsset::CreateFromString(R"({"version":"v1","asset":"A","production":"P"})");
  ASSERT_TRUE(link.IsValid());
  EXPECT_TRUE(link.GetMediaPath().empty());
  EXPECT_EQ(link.GetVersion(), ImmutableString("v1"));
}

TEST(FarsideLinkedAssetTest, TextsThatAreNoLinksAreInvalid) {
  EXPECT_FALSE(FarsideLinkedAsset::CreateFromString("").IsValid());
  EXPECT_FALSE(FarsideLinkedAsset::CreateFromString("not json").IsValid());
  EXPECT_FALSE(FarsideLinkedAsset::CreateFromString(R"(["P","m","v","A"])").IsValid());
  EXPECT_FALSE(FarsideLinkedAsset::CreateFromString(R"({"production":"P","asset":"A"})").IsValid());
  EXPECT_FALSE(FarsideLinkedAsset::CreateFromString(R"({"production":"P","version":"v","asset":""})").IsValid());
}

}  // namespace
