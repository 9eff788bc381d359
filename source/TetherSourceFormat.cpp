#include <source/TetherSource.h>

#include <source/FormatRounding.h>
#include <source/MediaTypeConversions.h>

#include <TetherMedia/Prefs.h>

#include <kilncore/serialization/JSONString.h>
#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <any>
#include <cmath>
#include <iterator>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilnmediatypes::TickTime;

namespace {

// Render quality from which a change of field order forbids scaling.
constexpr int32_t kHighRenderQuality = 3;

// Below this relative difference a scale factor counts as 1.
constexpr double kScaleTolerance = 1e-12;

uint8_t MatteByte(float component) {
  return static_cast<uint8_t>(RoundForFormat(component * 255.0f));
}

}  // namespace

int32_t TetherSource::GetAlphaMatteColor(std::array<uint8_t, 3>& out) {
  struct Matte {
    float r = 0, g = 0, b = 0;
  };
  const Matte matte = QuerySource(
      [](const tether::Source& s) {
        // Asked blue first, as the host's own sources do.
        Matte m;
        m.b = s.GetAlphaMatteColorB();
        m.g = s.GetAlphaMatteColorG();
        m.r = s.GetAlphaMatteColorR();
        return m;
      },
      Matte());
  out = {MatteByte(matte.r), MatteByte(matte.g), MatteByte(matte.b)};
  return 0;
}

// The server renders only what its item can give without loss: never larger
// than the native frame, always at the native pixel aspect ratio, and never
// rescaled at high quality when the field order changes. The host's wanted
// format is made into exactly that, step by step.
int32_t TetherSource::SelectFrameFormat(TickTime time, RL::FrameFormat& format) {
  kilnmediatypes::PixelAspectRatio nativeRatio;
  GetPixelAspectRatio(nativeRatio);
  const kilnmediatypes::FieldType sourceFieldType = GetFieldType();
  RL::RectT<int> frameSize;
  GetFrameSize(frameSize);

  // 1. "Any" ratio means the native one.
  kilnmediatypes::PixelAspectRatio wantedRatio = format.pixelAspectRatio;
  if (wantedRatio.IsAny()) wantedRatio = nativeRatio;

  // 2. The source's field type wins unless it is "any"; "any" left over means
  // progressive. The format carries the result from here on.
  const kilnmediatypes::FieldType wantedFieldType = format.fieldType;
  kilnmediatypes::FieldType fieldType = wantedFieldType;
  if (sourceFieldType != kilnmediatypes::kFieldType_Any) fieldType = sourceFieldType;
  if (fieldType == kilnmediatypes::kFieldType_Any) fieldType = kilnmediatypes::kFieldType_Progressive;
  format.fieldType = fieldType;

  // 3. No size means the native size and ratio.
  const int32_t nativeWidth = frameSize.right;
  const int32_t nativeHeight = frameSize.bottom;
  int32_t width = format.width;
  int32_t height = format.height;
  if (width == 0 || height == 0) {
    width = nativeWidth;
    height = nativeHeight;
    wantedRatio = nativeRatio;
  }

  // 4. Express the wanted size in native pixels, growing the dimension that
  // the ratio change stretches. A ratio without a value can't be compared.
  if (!(wantedRatio == nativeRatio) && wantedRatio.ToDouble() != 0.0 && nativeRatio.ToDouble() != 0.0) {
    const double r = wantedRatio.ToDouble() / nativeRatio.ToDouble();
    if (r >= 1.0) {
      width = RoundForFormat(width * r);
    } else {
      height = RoundForFormat(height / r);
    }
  }

  if (wantedFieldType != kilnmediatypes::kFieldType_Any && wantedFieldType != fieldType &&
      fieldType != kilnmediatypes::kFieldType_Progressive && format.renderQuality >= kHighRenderQuality) {
    // 5. The fields are re-ordered at high quality: scaling is forbidden.
    width = nativeWidth;
    height = nativeHeight;
  } else if (width != nativeWidth || height != nativeHeight) {
    // 6. Fit inside the wanted size, keeping the native frame's aspect and
    // never scaling up.
    double s = 1.0;
    if (nativeWidth != 0) s = std::min(s, static_cast<double>(width) / nativeWidth);
    if (nativeHeight != 0) s = std::min(s, static_cast<double>(height) / nativeHeight);
    width = nativeWidth;
    height = nativeHeight;
    if (std::fabs(s - 1.0) >= kScaleTolerance * std::max(s, 1.0)) {
      width = RoundForFormat(nativeWidth * s);
      height = RoundForFormat(nativeHeight * s);
    }
  }

  // 7. Both fields need the same number of lines.
  if (kilnmediatypes::IsInterlaced(fieldType) && height % 2 != 0) height += 1;

  // 8.
  format.width = width;
  format.height = height;
  format.pixelAspectRatio = nativeRatio;
  format.pixelFormatFlags = 0;

  // 9 and 10. The nearest of what the renderer offers at this time.
  const std::vector<kilnmediatypes::PixelFormat> offered = GetOfferedPixelFormats(time);
  format.pixelFormat = kilnmediatypes::SelectNearestPixelFormat({format.pixelFormat}, kilnmediatypes::kPixelFormat_Invalid,
                                                                offered, format.renderQuality, false);
  return 0;
}

std::vector<kilnmediatypes::PixelFormat> TetherSource::GetOfferedPixelFormats(TickTime time) {
  RefreshAcceleratedTimelineData();
  ScopedRecursiveLock lock(mStateMutex);
  // The range that holds `time` starts at or before it: the first key not
  // below `time` if it starts exactly there, otherwise its predecessor (the
  // last range when every key is below `time`).
  auto found = mAcceleratedRanges.lower_bound(time);
  if (found != mAcceleratedRanges.end() && found->second.Holds(time)) return found->second.PixelFormats;
  if (found != mAcceleratedRanges.begin()) {
    const auto before = std::prev(found);
    if (before->second.Holds(time)) return before->second.PixelFormats;
  }
  std::vector<kilnmediatypes::PixelFormat> native;
  GetNativePixelFormats(native);
  return native;
}

void TetherSource::ReplaceAcceleratedRanges(std::map<TickTime, AcceleratedRange> ranges) {
  AcceleratedRangeMap replacement(std::make_move_iterator(ranges.begin()), std::make_move_iterator(ranges.end()));
  ScopedRecursiveLock lock(mStateMutex);
  mAcceleratedRanges.swap(replacement);
}

tether::VideoRenderOptions TetherSource::BuildVideoRenderOptions(const RL::FrameFormat& format,
                                                                 const kilncore::WideString& appOptionsJSON) {
  tether::VideoRenderOptions options;
  options.SetRenderQuality(format.renderQuality);
  options.SetFieldType(static_cast<tether::FieldType>(format.fieldType));
  options.SetPixelFormats({ToTether(format.pixelFormat), ToTether(kilnmediatypes::kPixelFormat_Any)});
  options.SetBounds(format.width, format.height);
  if (options.GetBounds().width == 0 || options.GetBounds().height == 0) {
    RL::RectT<int> frameSize;
    GetFrameSize(frameSize);
    options.SetBounds(frameSize.right, frameSize.bottom);
  }
  options.SetUsePreviewFiles(mUsePreviewFiles.load());
  options.SetUseProxies(mUseProxies.load());
  options.SetAppSpecificRenderOptionsJSONString(appOptionsJSON);
  options.SetCaptionStreamFormat(format.captionStreamFormat);
  options.SetColorSpace(
      QuerySource([](const tether::Source& s) { return s.GetSourceInfo().colorSpace; }, tether::ColorSpace()));
  return options;
}

kilncore::WideString TetherSource::BuildRenderOptionsJSON(const RL::BinaryData& prefs) {
  if (mClipID != 0) {
    return kilncore::string::UTF8to16(kilncore::serialization::GetJSONString(std::any(int64_t{mClipID})));
  }
  return PrefsToApplicationSpecificRenderOptions(prefs);
}

}  // namespace TetherMedia
