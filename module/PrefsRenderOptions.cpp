#include <module/RenderOptionsJSONConvert.h>
#include <module/RenderOptionsReaders.h>

#include <kilncore/serialization/JSONAccess.h>
#include <kilncore/serialization/JSONParse.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace TetherMedia {
namespace {

using kilncore::serialization::GetVariantInObject;
using kilncore::serialization::JSONObject;
using kilncore::serialization::JSONValuePtr;
using kilncore::serialization::ObjectHasProperty;

// Older writers could wrap the options in a serializer's envelope object.
constexpr const char* kWrapperKey = "SerializerWrappedObject";

// The versions of the format that introduced each member. Version 9 changed
// nothing that this reader takes.
enum : int32_t {
  kRenderGuideLayersVersion = 1,
  kFlatArtisanOptionsVersion = 2,
  kArtisanQualityVersion = 3,
  kCapsuleParamValuesVersion = 4,
  kFieldTypeVersion = 5,
  kDownSampleVersion = 6,
  kPatchSourceForDownsampleVersion = 7,
  kUseMarlLibVersion = 8,
  kStretchVersion = 10,
  kEnableMenaIndicVersion = 11,
};

// An owner that isn't text is no owner, rather than an error: such options are
// simply not Marl's.
std::string ReadApplicationID(const JSONObject& object) {
  const JSONValuePtr value = GetVariantInObject(object, "applicationID");
  if (!value) return {};
  const auto* text = std::any_cast<std::string>(value.get());
  return text ? *text : std::string();
}

std::shared_ptr<tether::CapsuleParamValues> ReadCapsuleParamValues(const JSONValuePtr& value) {
  auto values = std::make_shared<tether::CapsuleParamValues>();
  if (value) {
    *values = kilncore::serialization::JSONConvert<tether::CapsuleParamValues>::FromJSON(*value);
  }
  return values;
}

// The members from version 1 to 4 always existed together with the writer that
// introduced them, so a missing one reads as its empty value. The later ones
// are set only when present, keeping the defaults of MarlRenderOptions.
void ReadVersionedMembers(const JSONObject& object, int32_t version,
                          tether::MarlRenderOptions& options) {
  if (version >= kRenderGuideLayersVersion) {
    options.renderGuideLayers = ReadBoolVariant(GetVariantInObject(object, "renderguidelayers"));
  }
  if (version >= kFlatArtisanOptionsVersion) {
    options.SetFlatArtisanOptions(
        ReadByteArrayVariant(GetVariantInObject(object, "flatArtisanOptions")));
  }
  if (version >= kArtisanQualityVersion) {
    options.artisanQuality = ReadIntegerVariant(GetVariantInObject(object, "artisanQuality"));
  }
  if (version >= kCapsuleParamValuesVersion) {
    options.SetCapsuleParamValues(
        ReadCapsuleParamValues(GetVariantInObject(object, "capsuleparamvalues")));
  }
  if (version >= kFieldTypeVersion && ObjectHasProperty(object, "fieldType")) {
    options.fieldType =
        static_cast<tether::FieldType>(ReadIntegerVariant(GetVariantInObject(object, "fieldType")));
  }
  if (version >= kDownSampleVersion) {
    if (ObjectHasProperty(object, "downSampleX")) {
      options.downSampleX = ReadIntegerVariant(GetVariantInObject(object, "downSampleX"));
    }
    if (ObjectHasProperty(object, "downSampleY")) {
      options.downSampleY = ReadIntegerVariant(GetVariantInObject(object, "downSampleY"));
    }
  }
  if (version >= kPatchSourceForDownsampleVersion &&
      ObjectHasProperty(object, "needsToPatchSourceForDownsample")) {
    options.needsToPatchSourceForDownsample =
        ReadBoolVariant(GetVariantInObject(object, "needsToPatchSourceForDownsample"));
  }
  if (version >= kUseMarlLibVersion && ObjectHasProperty(object, "useMarlLib")) {
    options.useMarlLib = ReadBoolVariant(GetVariantInObject(object, "useMarlLib"));
  }
  if (version >= kStretchVersion) {
    // A present null reads as 0.0, unlike an absent key (1.0). Readers have
    // always done so, and project files must keep opening as they did.
    if (ObjectHasProperty(object, "stretchFactor")) {
      options.stretchFactor = ReadNumberVariant(GetVariantInObject(object, "stretchFactor"));
    }
    if (ObjectHasProperty(object, "stretchOffset")) {
      options.SetStretchOffset(ReadInt64Variant(GetVariantInObject(object, "stretchOffset")));
    }
  }
  if (version >= kEnableMenaIndicVersion && ObjectHasProperty(object, "enableMenaIndic")) {
    options.enableMenaIndic = ReadBoolVariant(GetVariantInObject(object, "enableMenaIndic"));
  }
}

tether::MarlRenderOptions ReadMarlRenderOptions(const std::any& root) {
  const auto& object = std::any_cast<const JSONObject&>(root);
  tether::MarlRenderOptions options;
  if (ReadApplicationID(object) != tether::kMarlRenderOptionsApplicationID) {
    return options;
  }
  // Only the low 32 bits count, as a signed number: a negative version is older
  // than every member.
  const auto version =
      static_cast<int32_t>(ReadIntegerVariant(GetVariantInObject(object, "version")));
  ReadVersionedMembers(object, version, options);
  return options;
}

}  // namespace

tether::MarlRenderOptions ParseMarlRenderOptions(const kilncore::WideString& renderOptions) {
  JSONValuePtr root = kilncore::serialization::JSONParse(renderOptions);
  if (root && std::any_cast<JSONObject>(root.get()) != nullptr) {
    // A null wrapper is no wrapper: JSON null parses as a present but empty
    // value, which every reader takes for null.
    JSONValuePtr wrapped = GetVariantInObject(root, kWrapperKey);
    if (wrapped && wrapped->has_value()) root = std::move(wrapped);
  }
  if (!root) {
    throw std::runtime_error("JSON not well-formed");
  }
  return ReadMarlRenderOptions(*root);
}

}  // namespace TetherMedia
