#include <tether/MarlRenderOptions.h>

#include "AnyJSONWriter.h"

#include <rapidjson/encodings.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace tether {
namespace {

using WideBuffer = rapidjson::GenericStringBuffer<rapidjson::UTF16<char16_t>>;
using WideWriter = rapidjson::Writer<WideBuffer, rapidjson::UTF8<>, rapidjson::UTF16<char16_t>>;

bool SameCapsuleValues(const std::shared_ptr<CapsuleParamValues>& a,
                       const std::shared_ptr<CapsuleParamValues>& b) {
  const bool aEmpty = !a || a->IsEmpty();
  const bool bEmpty = !b || b->IsEmpty();
  if (aEmpty || bEmpty) {
    return aEmpty == bEmpty;
  }
  return *a == *b;
}

}  // namespace

kilncore::WideString MarlRenderOptions::AsString() const {
  WideBuffer buffer;
  WideWriter writer(buffer);
  // Keys in the order of the versions that introduced them, so that the text
  // reads as the history of the format.
  writer.StartObject();
  writer.Key("applicationID");
  writer.String(kMarlRenderOptionsApplicationID);
  writer.Key("version");
  writer.Int(kCurrentVersion);
  writer.Key("renderguidelayers");
  writer.Bool(renderGuideLayers);
  writer.Key("flatArtisanOptions");
  writer.StartArray();
  for (uint8_t byte : mFlatArtisanOptions) {
    writer.Uint(byte);
  }
  writer.EndArray();
  writer.Key("artisanQuality");
  writer.Uint(artisanQuality);
  writer.Key("capsuleparamvalues");
  detail::WriteAnyTree(writer, ToJSON(mCapsuleParamValues ? *mCapsuleParamValues : CapsuleParamValues{}));
  writer.Key("fieldType");
  writer.Int(fieldType);
  writer.Key("downSampleX");
  writer.Uint(downSampleX);
  writer.Key("downSampleY");
  writer.Uint(downSampleY);
  writer.Key("needsToPatchSourceForDownsample");
  writer.Bool(needsToPatchSourceForDownsample);
  writer.Key("useMarlLib");
  writer.Bool(useMarlLib);
  writer.Key("stretchFactor");
  detail::WriteDouble(writer, stretchFactor);
  writer.Key("stretchOffset");
  writer.Int64(mStretchOffset);
  writer.Key("enableMenaIndic");
  writer.Bool(enableMenaIndic);
  writer.EndObject();
  return kilncore::WideString(buffer.GetString(), buffer.GetSize() / sizeof(char16_t));
}

bool operator==(const MarlRenderOptions& a, const MarlRenderOptions& b) {
  return a.renderGuideLayers == b.renderGuideLayers &&
         a.mFlatArtisanOptions == b.mFlatArtisanOptions && a.artisanQuality == b.artisanQuality &&
         SameCapsuleValues(a.mCapsuleParamValues, b.mCapsuleParamValues) &&
         a.fieldType == b.fieldType && a.downSampleX == b.downSampleX &&
         a.downSampleY == b.downSampleY &&
         a.needsToPatchSourceForDownsample == b.needsToPatchSourceForDownsample &&
         a.useMarlLib == b.useMarlLib && a.stretchFactor == b.stretchFactor &&
         a.mStretchOffset == b.mStretchOffset && a.enableMenaIndic == b.enableMenaIndic;
}

}  // namespace tether
