#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/encodings.h>

#include <any>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

using tether::AnyArray;
using tether::AnyObject;
using tether::AnyValue;
using tether::MakeAny;
using tether::MarlRenderOptions;

// A reader of the render-options JSON that follows the rules the module's
// prefs reader applies, so that the writer is checked against them: value
// trees as the host's JSON parser makes them, then fields read under their
// version thresholds.
AnyValue ToTree(const rapidjson::Value& value) {
  if (value.IsNull()) {
    return std::make_shared<std::any>();
  }
  if (value.IsBool()) {
    return MakeAny(value.GetBool());
  }
  if (value.IsInt64()) {
    return MakeAny(value.GetInt64());
  }
  if (value.IsUint64()) {
    return MakeAny(value.GetUint64());
  }
  if (value.IsDouble()) {
    return MakeAny(value.GetDouble());
  }
  if (value.IsString()) {
    return MakeAny(std::string(value.GetString(), value.GetStringLength()));
  }
  if (value.IsArray()) {
    AnyArray array;
    for (const auto& element : value.GetArray()) {
      array.push_back(ToTree(element));
    }
    return MakeAny(std::move(array));
  }
  AnyObject object;
  for (const auto& member : value.GetObject()) {
    object.emplace(std::string(member.name.GetString(), member.name.GetStringLength()), ToTree(member.value));
  }
  return MakeAny(std::move(object));
}

AnyValue Parse(const kilncore::WideString& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag, rapidjson::UTF16<char16_t>>(text.c_str());
  if (document.HasParseError()) {
    return nullptr;
  }
  return ToTree(document);
}

bool IsNull(const AnyValue& value) { return !value || !value->has_value(); }

int64_t ReadInteger64(const AnyValue& value) {
  if (IsNull(value)) {
    return 0;
  }
  if (const auto* u = std::any_cast<uint64_t>(value.get())) {
    return static_cast<int64_t>(*u);
  }
  return std::any_cast<int64_t>(*value);
}

int32_t ReadInteger(const AnyValue& value) { return static_cast<int32_t>(ReadInteger64(value)); }

bool ReadBool(const AnyValue& value) {
  if (IsNull(value)) {
    return false;
  }
  if (const auto* b = std::any_cast<bool>(value.get())) {
    return *b;
  }
  if (const auto* i = std::any_cast<int>(value.get())) {
    return *i != 0;
  }
  const auto& text = std::any_cast<const std::string&>(*value);
  if (text == "true" || text == "false") {
    return text == "true";
  }
  throw std::bad_any_cast();
}

double ReadNumber(const AnyValue& value) {
  if (const auto* d = std::any_cast<double>(value.get())) {
    return *d;
  }
  return static_cast<double>(ReadInteger64(value));
}

std::vector<uint8_t> ReadBytes(const AnyValue& value) {
  std::vector<uint8_t> bytes;
  if (IsNull(value)) {
    return bytes;
  }
  for (const auto& element : std::any_cast<const AnyArray&>(*value)) {
    bytes.push_back(static_cast<uint8_t>(ReadInteger64(element)));
  }
  return bytes;
}

MarlRenderOptions ReadOptions(AnyValue root) {
  if (!IsNull(root)) {
    if (const auto* object = std::any_cast<AnyObject>(root.get())) {
      auto wrapped = object->find("SerializerWrappedObject");
      if (wrapped != object->end() && !IsNull(wrapped->second)) {
        root = wrapped->second;
      }
    }
  }
  if (!root) {
    throw std::runtime_error("JSON not well-formed");
  }
  const auto& object = std::any_cast<const AnyObject&>(*root);
  auto get = [&](const char* key) -> AnyValue {
    auto found = object.find(key);
    return found == object.end() ? nullptr : found->second;
  };
  auto has = [&](const char* key) { return object.count(key) != 0; };

  MarlRenderOptions options;
  const AnyValue application = get("applicationID");
  const auto* applicationText = application ? std::any_cast<std::string>(application.get()) : nullptr;
  if (!applicationText || *applicationText != tether::kMarlRenderOptionsApplicationID) {
    return options;
  }
  const int32_t version = ReadInteger(get("version"));
  if (version >= 1) options.renderGuideLayers = ReadBool(get("renderguidelayers"));
  if (version >= 2) options.SetFlatArtisanOptions(ReadBytes(get("flatArtisanOptions")));
  if (version >= 3) options.artisanQuality = static_cast<uint32_t>(ReadInteger(get("artisanQuality")));
  if (version >= 4) {
    options.SetCapsuleParamValues(
        std::make_shared<tether::CapsuleParamValues>(tether::FromJSON(get("capsuleparamvalues"))));
  }
  if (version >= 5 && has("fieldType")) options.fieldType = ReadInteger(get("fieldType"));
  if (version >= 6 && has("downSampleX")) options.downSampleX = static_cast<uint32_t>(ReadInteger(get("downSampleX")));
  if (version >= 6 && has("downSampleY")) options.downSampleY = static_cast<uint32_t>(ReadInteger(get("downSampleY")));
  if (version >= 7 && has("needsToPatchSourceForDownsample")) {
    options.needsToPatchSourceForDownsample = ReadBool(get("needsToPatchSourceForDownsample"));
  }
  if (version >= 8 && has("useMarlLib")) options.useMarlLib = ReadBool(get("useMarlLib"));
  if (version >= 10 && has("stretchFactor")) {
    options.stretchFactor = IsNull(get("stretchFactor")) ? 0.0 : ReadNumber(get("stretchFactor"));
  }
  if (version >= 10 && has("stretchOffset")) options.SetStretchOffset(ReadInteger64(get("stretchOffset")));
  if (version >= 11 && has("enableMenaIndic")) options.enableMenaIndic = ReadBool(get("enableMenaIndic"));
  return options;
}

// Options with every field away from its default.
MarlRenderOptions Unusual() {
  MarlRenderOptions options;
  options.renderGuideLayers = true;
  options.SetFlatArtisanOptions({0, 7, 44, 255});
  options.artisanQuality = 0xFFFFFFF0u;
  auto capsule = std::make_shared<tether::CapsuleParamValues>();
  capsule->values["title"] = std::string("H\xC3\xA9llo \"quoted\"");
  capsule->values["size"] = 2.5;
  capsule->values["count"] = int64_t{-3};
  capsule->values["enabled"] = true;
  capsule->values["colour"] = std::vector<double>{1.0, 0.5, 0.25};
  capsule->values["nothing"] = std::monostate{};
  options.SetCapsuleParamValues(capsule);
  options.fieldType = 2;
  options.downSampleX = 2;
  options.downSampleY = 3;
  options.needsToPatchSourceForDownsample = true;
  options.useMarlLib = true;
  options.stretchFactor = 0.1;
  options.SetStretchOffset(-3 * tether::kTicksPerSecond);
  options.enableMenaIndic = true;
  return options;
}

// What a reader gives for `source` written with `version` instead of the
// current one: the fields of later versions keep their defaults.
MarlRenderOptions ExpectedAtVersion(const MarlRenderOptions& source, int version) {
  MarlRenderOptions expected;
  if (version >= 1) expected.renderGuideLayers = source.renderGuideLayers;
  if (version >= 2) expected.SetFlatArtisanOptions(source.GetFlatArtisanOptions());
  if (version >= 3) expected.artisanQuality = source.artisanQuality;
  if (version >= 4) expected.SetCapsuleParamValues(source.GetCapsuleParamValues());
  if (version >= 5) expected.fieldType = source.fieldType;
  if (version >= 6) {
    expected.downSampleX = source.downSampleX;
    expected.downSampleY = source.downSampleY;
  }
  if (version >= 7) expected.needsToPatchSourceForDownsample = source.needsToPatchSourceForDownsample;
  if (version >= 8) expected.useMarlLib = source.useMarlLib;
  if (version >= 10) {
    expected.stretchFactor = source.stretchFactor;
    expected.SetStretchOffset(source.GetStretchOffset());
  }
  if (version >= 11) expected.enableMenaIndic = source.enableMenaIndic;
  return expected;
}

TEST(MarlRenderOptionsTest, DefaultsAreTheFormatsAbsentValues) {
  MarlRenderOptions options;
  EXPECT_FALSE(options.renderGuideLayers);
  EXPECT_TRUE(options.GetFlatArtisanOptions().empty());
  EXPECT_EQ(options.artisanQuality, 0u);
  EXPECT_EQ(options.GetCapsuleParamValues(), nullptr);
  EXPECT_EQ(options.fieldType, 0);
  EXPECT_EQ(options.downSampleX, 1u);
  EXPECT_EQ(options.downSampleY, 1u);
  EXPECT_FALSE(options.needsToPatchSourceForDownsample);
  EXPECT_FALSE(options.useMarlLib);
  EXPECT_EQ(options.stretchFactor, 1.0);
  EXPECT_EQ(options.GetStretchOffset(), 0);
  EXPECT_FALSE(options.enableMenaIndic);
}

TEST(MarlRenderOptionsTest, WritesEveryKeyWithCurrentVersionAndMarlOwner) {
  AnyValue tree = Parse(MarlRenderOptions().AsString());
  ASSERT_TRUE(tree);
  const auto& object = std::any_cast<const AnyObject&>(*tree);
  for (const char* key : {"applicationID", "version", "renderguidelayers", "flatArtisanOptions", "artisanQuality",
                          "capsuleparamvalues", "fieldType", "downSampleX", "downSampleY",
                          "needsToPatchSourceForDownsample", "useMarlLib", "stretchFactor", "stretchOffset",
                          "enableMenaIndic"}) {
    EXPECT_EQ(object.count(key), 1u) << key;
  }
  EXPECT_EQ(object.size(), 14u);
  EXPECT_EQ(std::any_cast<const std::string&>(*object.at("applicationID")), "Marl");
  EXPECT_EQ(ReadInteger(object.at("version")), 11);
  EXPECT_NO_THROW(std::any_cast<const AnyObject&>(*object.at("capsuleparamvalues")));
}

TEST(MarlRenderOptionsTest, DefaultOptionsReadBackEqual) {
  MarlRenderOptions options;
  EXPECT_EQ(ReadOptions(Parse(options.AsString())), options);
}

TEST(MarlRenderOptionsTest, UnusualOptionsReadBackEqual) {
  MarlRenderOptions options = Unusual();
  EXPECT_EQ(ReadOptions(Parse(options.AsString())), options);
}

TEST(MarlRenderOptionsTest, ReadBackAtEveryVersionThresholdKeepsOnlyFieldsOfThatVersion) {
  const MarlRenderOptions options = Unusual();
  const AnyValue written = Parse(options.AsString());
  ASSERT_TRUE(written);
  for (int version = 0; version <= 12; ++version) {
    AnyObject object = std::any_cast<const AnyObject&>(*written);
    object["version"] = MakeAny(int64_t{version});
    MarlRenderOptions read = ReadOptions(MakeAny(object));
    EXPECT_EQ(read, ExpectedAtVersion(options, version)) << "version " << version;
    // The wrapped form reads the same.
    AnyObject wrapper;
    wrapper["SerializerWrappedObject"] = MakeAny(object);
    EXPECT_EQ(ReadOptions(MakeAny(wrapper)), read) << "version " << version;
  }
}

TEST(MarlRenderOptionsTest, ExtremeIntegersSurviveTheirLow32Bits) {
  MarlRenderOptions options;
  options.artisanQuality = 0xFFFFFFFFu;
  options.downSampleX = 0x80000000u;
  options.fieldType = -7;
  options.SetStretchOffset(INT64_MIN + 1);
  EXPECT_EQ(ReadOptions(Parse(options.AsString())), options);
}

TEST(MarlRenderOptionsTest, NonFiniteStretchFactorIsWrittenAsNull) {
  MarlRenderOptions options;
  options.stretchFactor = std::numeric_limits<double>::infinity();
  AnyValue tree = Parse(options.AsString());
  ASSERT_TRUE(tree);
  EXPECT_TRUE(IsNull(std::any_cast<const AnyObject&>(*tree).at("stretchFactor")));
}

TEST(MarlRenderOptionsTest, NullAndEmptyCapsuleValuesAreEqual) {
  MarlRenderOptions a;
  MarlRenderOptions b;
  b.SetCapsuleParamValues(std::make_shared<tether::CapsuleParamValues>());
  EXPECT_EQ(a, b);
  b.GetCapsuleParamValues()->values["x"] = true;
  EXPECT_FALSE(a == b);
}

TEST(MarlRenderOptionsTest, CopiesAreEqualAndIndependent) {
  MarlRenderOptions original = Unusual();
  MarlRenderOptions copy(original);
  EXPECT_EQ(copy, original);
  copy.downSampleY = 9;
  EXPECT_FALSE(copy == original);
  MarlRenderOptions assigned;
  assigned = original;
  EXPECT_EQ(assigned, original);
}

}  // namespace
