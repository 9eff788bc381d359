#include <TetherMedia/Prefs.h>
#include <module/RenderOptionsJSONConvert.h>
#include <module/RenderOptionsReaders.h>

#include <kilncore/serialization/JSONParse.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/CapsuleParamValues.h>
#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>

#include <any>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using tether::MarlRenderOptions;

MarlRenderOptions Parse(const std::string& json) {
  return TetherMedia::ParseMarlRenderOptions(kilncore::string::UTF8to16(json));
}

// A Marl object of `version` with `members` (a JSON fragment, may be empty).
std::string MarlObject(const std::string& version, const std::string& members = "") {
  std::string json = R"({"applicationID":"Marl","version":)" + version;
  if (!members.empty()) json += "," + members;
  return json + "}";
}

// Every member set to a value other than its default.
const std::string kAllMembers =
    R"("renderguidelayers":true,"flatArtisanOptions":[1,2,3],"artisanQuality":7,)"
    R"("capsuleparamvalues":{"a":1},"fieldType":2,"downSampleX":2,"downSampleY":3,)"
    R"("needsToPatchSourceForDownsample":true,"useMarlLib":true,"stretchFactor":2.5,)"
    R"("stretchOffset":-5,"enableMenaIndic":true)";

MarlRenderOptions NonDefaultOptions() {
  MarlRenderOptions options;
  options.renderGuideLayers = true;
  options.SetFlatArtisanOptions({0, 1, 127, 128, 255});
  options.artisanQuality = 0xFFFFFFFFu;
  auto values = std::make_shared<tether::CapsuleParamValues>();
  values->values["checkbox"] = true;
  values->values["choice"] = int64_t{-3};
  values->values["slider"] = 0.25;
  values->values["text"] = std::string("Gr\xC3\xBC\xC3\x9F" "e");
  values->values["point"] = std::vector<double>{1.5, -2.0};
  values->values["none"] = std::monostate{};
  options.SetCapsuleParamValues(values);
  options.fieldType = 2;
  options.downSampleX = 4;
  options.downSampleY = 0x80000000u;
  options.needsToPatchSourceForDownsample = true;
  options.useMarlLib = true;
  options.stretchFactor = 0.5;
  options.SetStretchOffset(-254016000000LL * 3);
  options.enableMenaIndic = true;
  return options;
}

// --- Edge cases of the format -------------------------------------------------

TEST(ParseMarlRenderOptionsTest, EmptyOptionsTextLeavesCallerOptionsUntouched) {
  MarlRenderOptions options = NonDefaultOptions();
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(u"", options);
  EXPECT_EQ(options, NonDefaultOptions());
}

TEST(ParseMarlRenderOptionsTest, ApplicationIDAloneGivesDefaultsBecauseVersionIsZero) {
  EXPECT_EQ(Parse(R"({"applicationID":"Marl"})"), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, AbsentVersionIgnoresEveryOtherMember) {
  EXPECT_EQ(Parse(R"({"applicationID":"Marl",)" + kAllMembers + "}"), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, Version1WithoutGuideLayersKeySetsThemFalseOverCallersTrue) {
  MarlRenderOptions options;
  options.renderGuideLayers = true;
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
      u"{\"applicationID\":\"Marl\",\"version\":1}", options);
  EXPECT_FALSE(options.renderGuideLayers);
}

TEST(ParseMarlRenderOptionsTest, StretchFactorAtVersion9KeepsDefaultAndAtVersion10IsRead) {
  EXPECT_EQ(Parse(MarlObject("9", R"("stretchFactor":2)")).stretchFactor, 1.0);
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchFactor":2)")).stretchFactor, 2.0);
}

TEST(ParseMarlRenderOptionsTest, FlatArtisanOptionsKeepLowEightBitsOfEachElement) {
  EXPECT_EQ(Parse(MarlObject("2", R"("flatArtisanOptions":[300])")).GetFlatArtisanOptions(),
            std::vector<uint8_t>{44});
  EXPECT_EQ(Parse(MarlObject("2", R"("flatArtisanOptions":[-1,256,255,0])")).GetFlatArtisanOptions(),
            (std::vector<uint8_t>{255, 0, 255, 0}));
}

TEST(ParseMarlRenderOptionsTest, GuideLayersGivenAsStringTrueAreTrue) {
  EXPECT_TRUE(Parse(MarlObject("1", R"("renderguidelayers":"true")")).renderGuideLayers);
  EXPECT_FALSE(Parse(MarlObject("1", R"("renderguidelayers":"false")")).renderGuideLayers);
}

TEST(ParseMarlRenderOptionsTest, GuideLayersGivenAsUpperCaseStringThrow) {
  EXPECT_THROW(Parse(MarlObject("1", R"("renderguidelayers":"TRUE")")), std::bad_any_cast);
}

TEST(ParseMarlRenderOptionsTest, WrappedAndUnwrappedFormsGiveTheSameOptions) {
  const std::string object = MarlObject("11", kAllMembers);
  const MarlRenderOptions unwrapped = Parse(object);
  EXPECT_EQ(Parse(R"({"SerializerWrappedObject":)" + object + "}"), unwrapped);
  EXPECT_NE(unwrapped, MarlRenderOptions());
}

// --- Decided points of reading ------------------------------------------------

TEST(ParseMarlRenderOptionsTest, JsonIntegerForGuideLayersThrowsBadAnyCast) {
  // A parsed integer is a uint64_t; only code-built trees hold int.
  EXPECT_THROW(Parse(MarlObject("1", R"("renderguidelayers":1)")), std::bad_any_cast);
  EXPECT_THROW(Parse(MarlObject("1", R"("renderguidelayers":0)")), std::bad_any_cast);
}

TEST(ParseMarlRenderOptionsTest, ParsedIntegersAreUnsignedOrSigned64BitAndOtherNumbersDouble) {
  const auto root = kilncore::serialization::JSONParse(u"[5,-5,5.0]");
  const auto& array = std::any_cast<const kilncore::serialization::JSONArray&>(*root);
  EXPECT_NE(std::any_cast<uint64_t>(array[0].get()), nullptr);
  EXPECT_NE(std::any_cast<int64_t>(array[1].get()), nullptr);
  EXPECT_NE(std::any_cast<double>(array[2].get()), nullptr);
  EXPECT_EQ(Parse(MarlObject("11", R"("fieldType":-1)")).fieldType, -1);
  EXPECT_THROW(Parse(MarlObject("11.0")), std::bad_any_cast);
}

TEST(ParseMarlRenderOptionsTest, JsonNullIsAPresentEmptyValue) {
  const auto root = kilncore::serialization::JSONParse(u"{\"a\":null}");
  const auto& object = std::any_cast<const kilncore::serialization::JSONObject&>(*root);
  ASSERT_NE(object.at("a"), nullptr);
  EXPECT_FALSE(object.at("a")->has_value());
}

TEST(ParseMarlRenderOptionsTest, NullVersionReadsAsZero) {
  EXPECT_EQ(Parse(R"({"applicationID":"Marl","version":null,)" + kAllMembers + "}"),
            MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, NullIntegerMembersReadAsZero) {
  const MarlRenderOptions options = Parse(MarlObject(
      "11",
      R"("artisanQuality":null,"fieldType":null,"downSampleX":null,"downSampleY":null,"stretchOffset":null)"));
  EXPECT_EQ(options.artisanQuality, 0u);
  EXPECT_EQ(options.fieldType, 0);
  EXPECT_EQ(options.downSampleX, 0u);
  EXPECT_EQ(options.downSampleY, 0u);
  EXPECT_EQ(options.GetStretchOffset(), 0);
}

TEST(ParseMarlRenderOptionsTest, NullBooleanMembersReadAsFalse) {
  MarlRenderOptions options = NonDefaultOptions();
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
      kilncore::string::UTF8to16(MarlObject(
          "11",
          R"("renderguidelayers":null,"needsToPatchSourceForDownsample":null,"useMarlLib":null,"enableMenaIndic":null)")),
      options);
  EXPECT_FALSE(options.renderGuideLayers);
  EXPECT_FALSE(options.needsToPatchSourceForDownsample);
  EXPECT_FALSE(options.useMarlLib);
  EXPECT_FALSE(options.enableMenaIndic);
}

TEST(ParseMarlRenderOptionsTest, NullStretchFactorGivesZeroWhereAbsentGivesOne) {
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchFactor":null)")).stretchFactor, 0.0);
  EXPECT_EQ(Parse(MarlObject("10")).stretchFactor, 1.0);
}

TEST(ParseMarlRenderOptionsTest, NullFlatArtisanOptionsReadAsEmpty) {
  EXPECT_TRUE(Parse(MarlObject("2", R"("flatArtisanOptions":null)")).GetFlatArtisanOptions().empty());
}

TEST(ParseMarlRenderOptionsTest, NullCapsuleParamValuesReadAsEmpty) {
  const MarlRenderOptions options = Parse(MarlObject("4", R"("capsuleparamvalues":null)"));
  ASSERT_NE(options.GetCapsuleParamValues(), nullptr);
  EXPECT_TRUE(options.GetCapsuleParamValues()->IsEmpty());
}

TEST(ParseMarlRenderOptionsTest, NegativeVersionReadsNothingBeyondVersion) {
  EXPECT_EQ(Parse(MarlObject("-1", kAllMembers)), MarlRenderOptions());
  EXPECT_EQ(Parse(MarlObject("-9223372036854775808", kAllMembers)), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, VersionKeepsOnlyItsLow32BitsAsSignedNumber) {
  // 2^32 + 11 reads as 11, so every member is read.
  EXPECT_TRUE(Parse(MarlObject("4294967307", kAllMembers)).enableMenaIndic);
  // 2^32 - 1 and 2^31 read as negative versions.
  EXPECT_EQ(Parse(MarlObject("4294967295", kAllMembers)), MarlRenderOptions());
  EXPECT_EQ(Parse(MarlObject("2147483648", kAllMembers)), MarlRenderOptions());
  // 2^32 reads as 0.
  EXPECT_EQ(Parse(MarlObject("4294967296", kAllMembers)), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, CapsuleParamValuesAreReadByTheLibrarysConverter) {
  const std::string capsule =
      R"({"flag":true,"count":-3,"big":18446744073709551615,"slider":0.5,"name":"x","point":[1,2.5],"none":null})";
  const MarlRenderOptions options = Parse(MarlObject("4", R"("capsuleparamvalues":)" + capsule));
  const auto tree = kilncore::serialization::JSONParse(kilncore::string::UTF8to16(capsule));
  ASSERT_NE(options.GetCapsuleParamValues(), nullptr);
  EXPECT_EQ(*options.GetCapsuleParamValues(), tether::FromJSON(tree));
  EXPECT_EQ(options.GetCapsuleParamValues()->values.at("count"), tether::CapsuleParamValue(int64_t{-3}));
  EXPECT_EQ(options.GetCapsuleParamValues()->values.at("point"),
            tether::CapsuleParamValue(std::vector<double>{1.0, 2.5}));
}

TEST(ParseMarlRenderOptionsTest, CapsuleParamValuesJsonConvertReadsNullAsEmptyAndRefusesNonObjects) {
  using Convert = kilncore::serialization::JSONConvert<tether::CapsuleParamValues>;
  EXPECT_TRUE(Convert::FromJSON(std::any()).IsEmpty());
  EXPECT_THROW(Convert::FromJSON(std::any(uint64_t{1})), std::bad_any_cast);
  EXPECT_THROW(Parse(MarlObject("4", R"("capsuleparamvalues":[1])")), std::bad_any_cast);
  EXPECT_THROW(Parse(MarlObject("4", R"("capsuleparamvalues":{"a":{}})")), std::bad_any_cast);
  const tether::CapsuleParamValues values = *NonDefaultOptions().GetCapsuleParamValues();
  EXPECT_EQ(Convert::FromJSON(*Convert::ToJSON(values)), values);
}

// --- Version thresholds -------------------------------------------------------

struct Threshold {
  const char* key;
  const char* value;
  int version;
  std::function<bool(const MarlRenderOptions&)> isRead;
};

class VersionThresholdTest : public ::testing::TestWithParam<Threshold> {};

TEST_P(VersionThresholdTest, MemberIsIgnoredBelowItsVersionAndReadFromIt) {
  const Threshold& threshold = GetParam();
  const std::string member = std::string("\"") + threshold.key + "\":" + threshold.value;
  const MarlRenderOptions below = Parse(MarlObject(std::to_string(threshold.version - 1), member));
  const MarlRenderOptions at = Parse(MarlObject(std::to_string(threshold.version), member));
  const MarlRenderOptions above = Parse(MarlObject("12", member));
  EXPECT_FALSE(threshold.isRead(below));
  EXPECT_TRUE(threshold.isRead(at));
  EXPECT_TRUE(threshold.isRead(above));
}

INSTANTIATE_TEST_SUITE_P(
    EveryMember, VersionThresholdTest,
    ::testing::Values(
        Threshold{"renderguidelayers", "true", 1, [](auto& o) { return o.renderGuideLayers; }},
        Threshold{"flatArtisanOptions", "[9]", 2,
                  [](auto& o) { return o.GetFlatArtisanOptions() == std::vector<uint8_t>{9}; }},
        Threshold{"artisanQuality", "7", 3, [](auto& o) { return o.artisanQuality == 7u; }},
        Threshold{"capsuleparamvalues", R"({"a":1})", 4,
                  [](auto& o) {
                    return o.GetCapsuleParamValues() && o.GetCapsuleParamValues()->values.size() == 1;
                  }},
        Threshold{"fieldType", "2", 5, [](auto& o) { return o.fieldType == 2; }},
        Threshold{"downSampleX", "2", 6, [](auto& o) { return o.downSampleX == 2u; }},
        Threshold{"downSampleY", "3", 6, [](auto& o) { return o.downSampleY == 3u; }},
        Threshold{"needsToPatchSourceForDownsample", "true", 7,
                  [](auto& o) { return o.needsToPatchSourceForDownsample; }},
        Threshold{"useMarlLib", "true", 8, [](auto& o) { return o.useMarlLib; }},
        Threshold{"stretchFactor", "2.5", 10, [](auto& o) { return o.stretchFactor == 2.5; }},
        Threshold{"stretchOffset", "-5", 10, [](auto& o) { return o.GetStretchOffset() == -5; }},
        Threshold{"enableMenaIndic", "true", 11, [](auto& o) { return o.enableMenaIndic; }}),
    [](const ::testing::TestParamInfo<Threshold>& info) { return std::string(info.param.key); });

TEST(ParseMarlRenderOptionsTest, Version9ReadsExactlyWhatVersion8Reads) {
  EXPECT_EQ(Parse(MarlObject("9", kAllMembers)), Parse(MarlObject("8", kAllMembers)));
}

TEST(ParseMarlRenderOptionsTest, VersionAbove11ReadsAs11AndIgnoresUnknownKeys) {
  EXPECT_EQ(Parse(MarlObject("12", kAllMembers + R"(,"futureKey":{"x":[1]})")),
            Parse(MarlObject("11", kAllMembers)));
  EXPECT_EQ(Parse(MarlObject("4000000", kAllMembers)), Parse(MarlObject("11", kAllMembers)));
}

TEST(ParseMarlRenderOptionsTest, MemberAboveVersionIsIgnoredEvenWhenOfWrongType) {
  EXPECT_EQ(Parse(MarlObject("4", R"("fieldType":"two","stretchFactor":{},"enableMenaIndic":[])")),
            Parse(MarlObject("4")));
}

TEST(ParseMarlRenderOptionsTest, LaterMembersAbsentAtTheirVersionKeepTheDefaults) {
  const MarlRenderOptions options = Parse(MarlObject("11"));
  const MarlRenderOptions defaults;
  EXPECT_EQ(options.fieldType, defaults.fieldType);
  EXPECT_EQ(options.downSampleX, 1u);
  EXPECT_EQ(options.downSampleY, 1u);
  EXPECT_EQ(options.stretchFactor, 1.0);
  EXPECT_EQ(options.GetStretchOffset(), 0);
  EXPECT_FALSE(options.enableMenaIndic);
  EXPECT_EQ(options, defaults);
}

TEST(ParseMarlRenderOptionsTest, EarlyMembersAbsentAtTheirVersionTakeTheirEmptyValues) {
  MarlRenderOptions options = NonDefaultOptions();
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
      kilncore::string::UTF8to16(MarlObject("4")), options);
  EXPECT_FALSE(options.renderGuideLayers);
  EXPECT_TRUE(options.GetFlatArtisanOptions().empty());
  EXPECT_EQ(options.artisanQuality, 0u);
  ASSERT_NE(options.GetCapsuleParamValues(), nullptr);
  EXPECT_TRUE(options.GetCapsuleParamValues()->IsEmpty());
}

// --- Values of the members ----------------------------------------------------

TEST(ParseMarlRenderOptionsTest, ThirtyTwoBitMembersKeepTheirLowBits) {
  const MarlRenderOptions options = Parse(MarlObject(
      "11", R"("artisanQuality":4294967295,"fieldType":4294967294,"downSampleX":4294967298,"downSampleY":-1)"));
  EXPECT_EQ(options.artisanQuality, 0xFFFFFFFFu);
  EXPECT_EQ(options.fieldType, -2);
  EXPECT_EQ(options.downSampleX, 2u);
  EXPECT_EQ(options.downSampleY, 0xFFFFFFFFu);
}

TEST(ParseMarlRenderOptionsTest, StretchOffsetKeepsAll64Bits) {
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchOffset":-762048000000)")).GetStretchOffset(),
            -762048000000LL);
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchOffset":9223372036854775808)")).GetStretchOffset(),
            std::numeric_limits<int64_t>::min());
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchOffset":4294967296)")).GetStretchOffset(), 4294967296LL);
}

TEST(ParseMarlRenderOptionsTest, StretchFactorAcceptsIntegersAndNumbers) {
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchFactor":-3)")).stretchFactor, -3.0);
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchFactor":0.125)")).stretchFactor, 0.125);
  EXPECT_EQ(Parse(MarlObject("10", R"("stretchFactor":1e2)")).stretchFactor, 100.0);
}

TEST(ParseMarlRenderOptionsTest, BooleansAcceptTheirStringForms) {
  const MarlRenderOptions options = Parse(MarlObject(
      "11", R"("needsToPatchSourceForDownsample":"true","useMarlLib":"false","enableMenaIndic":"true")"));
  EXPECT_TRUE(options.needsToPatchSourceForDownsample);
  EXPECT_FALSE(options.useMarlLib);
  EXPECT_TRUE(options.enableMenaIndic);
}

TEST(ParseMarlRenderOptionsTest, MembersOfTheWrongTypeThrowBadAnyCast) {
  for (const char* member :
       {R"("version":"11")", R"("version":true)", R"("version":[11])"}) {
    EXPECT_THROW(Parse(R"({"applicationID":"Marl",)" + std::string(member) + "}"), std::bad_any_cast)
        << member;
  }
  for (const char* member :
       {R"("renderguidelayers":"yes")", R"("renderguidelayers":1.0)", R"("flatArtisanOptions":[1.5])",
        R"("flatArtisanOptions":[null])", R"("flatArtisanOptions":[true])", R"("flatArtisanOptions":{})",
        R"("flatArtisanOptions":"AQID")", R"("artisanQuality":"7")", R"("artisanQuality":7.0)",
        R"("fieldType":"5")", R"("downSampleX":true)", R"("downSampleY":[2])",
        R"("needsToPatchSourceForDownsample":{})", R"("useMarlLib":"True")", R"("stretchFactor":"2")",
        R"("stretchFactor":true)", R"("stretchOffset":1.5)", R"("stretchOffset":"0")",
        R"("enableMenaIndic":"")"}) {
    EXPECT_THROW(Parse(MarlObject("11", member)), std::bad_any_cast) << member;
  }
}

// --- Owner, root and wrapper --------------------------------------------------

TEST(ParseMarlRenderOptionsTest, OptionsOfAnotherApplicationGiveDefaults) {
  EXPECT_EQ(Parse(R"({"applicationID":"Sprocket","version":11,)" + kAllMembers + "}"),
            MarlRenderOptions());
  EXPECT_EQ(Parse(R"({"applicationID":"marl","version":11,)" + kAllMembers + "}"),
            MarlRenderOptions());
  EXPECT_EQ(Parse(R"({"applicationID":"Marl ","version":11,)" + kAllMembers + "}"),
            MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, OtherApplicationsMembersAreNotCheckedForType) {
  EXPECT_EQ(Parse(R"({"applicationID":"Easel","version":"x","fieldType":[]})"), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, ApplicationIDThatIsNoStringGivesDefaultsWithoutError) {
  for (const char* id : {"null", "1", "true", "[\"Marl\"]", "{\"Marl\":1}"}) {
    EXPECT_EQ(Parse(std::string(R"({"applicationID":)") + id + R"(,"version":11,)" + kAllMembers + "}"),
              MarlRenderOptions())
        << id;
  }
  EXPECT_EQ(Parse(R"({"version":11,)" + kAllMembers + "}"), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, TextThatDoesNotParseThrowsRuntimeError) {
  for (const char* text : {"", "{", "{\"applicationID\":\"Marl\"} x", "{'a':1}", "nul", " "}) {
    try {
      Parse(text);
      ADD_FAILURE() << "no exception for " << text;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "JSON not well-formed") << text;
    }
  }
}

TEST(ParseMarlRenderOptionsTest, MalformedTextLeavesCallerOptionsUntouched) {
  MarlRenderOptions options = NonDefaultOptions();
  EXPECT_THROW(TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(u"{", options),
               std::runtime_error);
  EXPECT_EQ(options, NonDefaultOptions());
}

TEST(ParseMarlRenderOptionsTest, RootThatIsNoObjectThrowsBadAnyCast) {
  for (const char* text : {"null", "[]", "[{\"applicationID\":\"Marl\"}]", "\"Marl\"", "11", "true"}) {
    EXPECT_THROW(Parse(text), std::bad_any_cast) << text;
  }
}

TEST(ParseMarlRenderOptionsTest, WrappedValueReplacesTheOuterObject) {
  EXPECT_EQ(Parse(R"({"applicationID":"Marl","version":11,"useMarlLib":true,)"
                  R"("SerializerWrappedObject":{"applicationID":"Marl","version":8}})"),
            MarlRenderOptions());
  EXPECT_TRUE(Parse(R"({"applicationID":"Other","SerializerWrappedObject":)" +
                    MarlObject("8", R"("useMarlLib":true)") + "}")
                  .useMarlLib);
}

TEST(ParseMarlRenderOptionsTest, WrapperIsOpenedOnlyOnce) {
  EXPECT_EQ(Parse(R"({"SerializerWrappedObject":{"SerializerWrappedObject":)" +
                  MarlObject("11", kAllMembers) + "}}"),
            MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, NullWrapperIsReadAsTheUnwrappedObjectWithEveryField) {
  const MarlRenderOptions unwrapped = Parse(MarlObject("3", kAllMembers));
  ASSERT_NE(unwrapped, MarlRenderOptions());
  EXPECT_EQ(Parse(R"({"SerializerWrappedObject":null,"applicationID":"Marl","version":3,)" + kAllMembers + "}"),
            unwrapped);
  EXPECT_EQ(Parse(R"({"applicationID":"Marl","version":3,)" + kAllMembers + R"(,"SerializerWrappedObject":null})"),
            unwrapped);
  EXPECT_EQ(Parse(R"({"SerializerWrappedObject":null,"applicationID":"Marl","version":3,)" + kAllMembers + "}")
                .artisanQuality,
            7u);
}

TEST(ParseMarlRenderOptionsTest, WrapperObjectIsReadInPlaceOfTheOuterOne) {
  const MarlRenderOptions unwrapped = Parse(MarlObject("11", kAllMembers));
  EXPECT_EQ(Parse(R"({"applicationID":"Other","version":1,"SerializerWrappedObject":)" +
                  MarlObject("11", kAllMembers) + "}"),
            unwrapped);
}

TEST(ParseMarlRenderOptionsTest, NullWrapperAloneReadsAsOptionsOfNoOwner) {
  EXPECT_EQ(Parse(R"({"SerializerWrappedObject":null})"), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, WrappedValueThatIsNoObjectThrowsBadAnyCast) {
  EXPECT_THROW(Parse(R"({"SerializerWrappedObject":"Marl"})"), std::bad_any_cast);
  EXPECT_THROW(Parse(R"({"SerializerWrappedObject":[]})"), std::bad_any_cast);
}

// --- Round trips with the writer ----------------------------------------------

TEST(ParseMarlRenderOptionsTest, WriterTextAtVersion11ReadsBackEqual) {
  const MarlRenderOptions options = NonDefaultOptions();
  const kilncore::WideString text = options.AsString();
  ASSERT_NE(text.find(u"\"version\":11"), kilncore::WideString::npos);
  EXPECT_EQ(TetherMedia::ParseMarlRenderOptions(text), options);
}

TEST(ParseMarlRenderOptionsTest, DefaultOptionsRoundTripThroughTheWriter) {
  EXPECT_EQ(TetherMedia::ParseMarlRenderOptions(MarlRenderOptions().AsString()), MarlRenderOptions());
}

TEST(ParseMarlRenderOptionsTest, OptionsRoundTripThroughABlob) {
  const kilncore::utility::Guid id = kilncore::utility::Guid::CreateUnique();
  const MarlRenderOptions written = NonDefaultOptions();
  const RL::BinaryData prefs =
      TetherMedia::BuildPrefsWithApplicationSpecificRenderOptions(id.AsString(), written.AsString());
  MarlRenderOptions read;
  TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(
      TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs), read);
  EXPECT_EQ(read, written);
  EXPECT_EQ(TetherMedia::PrefsToSourceID(prefs), id);
}

TEST(ParseMarlRenderOptionsTest, NonFiniteStretchFactorIsWrittenAsNullAndReadsBackAsZero) {
  MarlRenderOptions options;
  options.stretchFactor = std::numeric_limits<double>::infinity();
  EXPECT_EQ(TetherMedia::ParseMarlRenderOptions(options.AsString()).stretchFactor, 0.0);
}

}  // namespace
