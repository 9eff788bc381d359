#include <server/render/RenderSettings.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/PixelFormat.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace tetherserver {
namespace {

using kilnmediatypes::MakeFourCC;

constexpr uint32_t kBGRA8 = MakeFourCC('B', 'G', 'R', 'A');
constexpr uint32_t kRGBA8 = MakeFourCC('R', 'G', 'B', 'A');
constexpr uint32_t kBGRAFloat = MakeFourCC('B', 'G', 'R', 'F');
constexpr uint32_t kRGBAFloat = MakeFourCC('R', 'G', 'B', 'F');
constexpr int32_t kMaxSide = 16384;
constexpr uint32_t kMaxDownSample = 64;
constexpr char kOptionsDomain[] = "TetherServerRenderOptions\x01";

// Marl render options as far as the renderer uses them.
struct AppOptions {
  bool renderGuideLayers = false;
  uint32_t downSampleX = 1;
  uint32_t downSampleY = 1;
  bool patched = false;
};

void ReadBoolMember(const rapidjson::Value& object, const char* key, bool& out) {
  auto it = object.FindMember(key);
  if (it != object.MemberEnd() && it->value.IsBool()) out = it->value.GetBool();
}

void ReadDivisorMember(const rapidjson::Value& object, const char* key, uint32_t& out) {
  auto it = object.FindMember(key);
  if (it != object.MemberEnd() && it->value.IsUint()) {
    const uint32_t v = it->value.GetUint();
    if (v >= 1 && v <= kMaxDownSample) out = v;
  }
}

AppOptions ReadAppOptions(const kilncore::WideString& json) {
  AppOptions options;
  const std::string text = kilncore::string::UTF16to8(json);
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (document.HasParseError() || !document.IsObject()) return options;
  // Compared through const iterators: the mutable ones are ambiguous under
  // C++20's reversed comparison operators.
  const rapidjson::Value& root = document;
  const rapidjson::Value* object = &root;
  auto wrapped = root.FindMember("SerializerWrappedObject");
  if (wrapped != root.MemberEnd()) object = &wrapped->value;
  if (!object->IsObject()) return options;
  ReadBoolMember(*object, "renderguidelayers", options.renderGuideLayers);
  ReadDivisorMember(*object, "downSampleX", options.downSampleX);
  ReadDivisorMember(*object, "downSampleY", options.downSampleY);
  ReadBoolMember(*object, "needsToPatchSourceForDownsample", options.patched);
  return options;
}

// Writes integers little-endian whatever the machine, so hashes match across
// machines.
class LittleEndianFeed {
 public:
  explicit LittleEndianFeed(kilncore::utility::HashMixerState& state) : mState(state) {}
  void Bytes(const void* data, size_t size) { kilncore::utility::UpdateHashState(mState, data, size); }
  void U8(uint8_t v) { Bytes(&v, 1); }
  void U16(uint16_t v) { Unsigned(v, 2); }
  void U32(uint32_t v) { Unsigned(v, 4); }
  void I32(int32_t v) { Unsigned(static_cast<uint32_t>(v), 4); }

 private:
  void Unsigned(uint64_t v, size_t size) {
    uint8_t bytes[8];
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(v >> (8 * i));
    Bytes(bytes, size);
  }
  kilncore::utility::HashMixerState& mState;
};

tether::PixelFormat ChoosePixelFormat(const std::vector<tether::PixelFormat>& wanted, bool& found) {
  found = true;
  for (const tether::PixelFormat& format : wanted) {
    if (IsRenderablePixelFormat(format.fourcc)) return format;
    if (format.fourcc == kilnmediatypes::kPixelFormat_Any.fourcc) break;
  }
  const bool anyAllowed =
      wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [](const tether::PixelFormat& f) {
        return f.fourcc == kilnmediatypes::kPixelFormat_Any.fourcc;
      });
  found = anyAllowed;
  return tether::PixelFormat{kBGRA8, kilnmediatypes::kPixelFormatProperties_Default};
}

}  // namespace

bool IsRenderablePixelFormat(uint32_t fourcc) {
  return fourcc == kBGRA8 || fourcc == kRGBA8 || fourcc == kBGRAFloat || fourcc == kRGBAFloat;
}

bool IsFloatPixelFormatCode(uint32_t fourcc) { return fourcc == kBGRAFloat || fourcc == kRGBAFloat; }

size_t RenderSettings::BytesPerPixel() const {
  return IsFloatPixelFormatCode(pixelFormat.fourcc) ? 16 : 4;
}

FrameBuffer RenderSettings::MakeBuffer(void* data) const {
  return FrameBuffer{data, MinRowBytes(), width, height, pixelFormat};
}

Outcome<RenderSettings> RenderSettings::Resolve(const Composition& composition,
                                                const tether::VideoRenderOptions& options) {
  RenderSettings settings;
  bool found = false;
  settings.pixelFormat = ChoosePixelFormat(options.GetPixelFormats(), found);
  if (!found) {
    return Outcome<RenderSettings>::Failure(ProjectError::Kind::kUnsupportedPixelFormat,
                                            "none of the pixel formats asked for can be rendered");
  }
  const tether::RenderBounds bounds = options.GetBounds();
  if (bounds.width > 0 && bounds.height > 0) {
    if (bounds.width > kMaxSide || bounds.height > kMaxSide) {
      return Outcome<RenderSettings>::Failure(ProjectError::Kind::kBadBuffer,
                                              "render bounds above 16384 pixels");
    }
    settings.width = static_cast<uint32_t>(bounds.width);
    settings.height = static_cast<uint32_t>(bounds.height);
  } else {
    settings.width = composition.width;
    settings.height = composition.height;
  }
  const tether::FieldType fieldType = options.GetFieldType();
  settings.fieldType = (fieldType >= 0 && fieldType <= 2) ? fieldType : composition.fieldType;
  settings.renderQuality = options.GetRenderQuality();
  const AppOptions app = ReadAppOptions(options.GetAppSpecificRenderOptionsJSONString());
  settings.renderGuideLayers = app.renderGuideLayers;
  settings.downSampleX = app.downSampleX;
  settings.downSampleY = app.downSampleY;
  settings.sourcePatchedForDownsample = app.patched;
  settings.optionsHash = HashVideoRenderOptions(options);
  return Outcome<RenderSettings>::Success(settings);
}

kilncore::utility::Guid HashVideoRenderOptions(const tether::VideoRenderOptions& options) {
  kilncore::utility::HashValueMixerState state;
  LittleEndianFeed feed(state);
  feed.Bytes(kOptionsDomain, sizeof(kOptionsDomain) - 1);
  feed.I32(options.GetRenderQuality());
  feed.I32(options.GetFieldType());
  feed.U32(static_cast<uint32_t>(options.GetPixelFormats().size()));
  for (const tether::PixelFormat& format : options.GetPixelFormats()) {
    feed.U32(format.fourcc);
    feed.U32(format.properties);
  }
  feed.I32(options.GetBounds().width);
  feed.I32(options.GetBounds().height);
  feed.U8(options.GetUsePreviewFiles() ? 1 : 0);
  feed.U8(options.GetUseProxies() ? 1 : 0);
  const kilncore::WideString& json = options.GetAppSpecificRenderOptionsJSONString();
  feed.U32(static_cast<uint32_t>(json.size()));
  for (char16_t unit : json) feed.U16(static_cast<uint16_t>(unit));
  feed.U32(options.GetCaptionStreamFormat());
  const std::string& colorSpace = options.GetColorSpace().definition;
  feed.U32(static_cast<uint32_t>(colorSpace.size()));
  feed.Bytes(colorSpace.data(), colorSpace.size());
  kilncore::utility::Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

}  // namespace tetherserver
