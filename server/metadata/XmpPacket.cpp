#include <metadata/XmpPacket.h>

#include <Sill/Timecode.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <exempi/xmp.h>
#include <exempi/xmpconsts.h>

#include <boost/rational.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>

namespace tetherserver {

namespace {

constexpr char kDynamicMedia[] = "http://ns.adobe.com/xmp/1.0/DynamicMedia/";

void InitializeOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    xmp_init();
    xmp_register_namespace(kDynamicMedia, "xmpDM", nullptr);
  });
}

struct XmpDeleter {
  void operator()(_Xmp* xmp) const { xmp_free(xmp); }
};
struct XmpStringDeleter {
  void operator()(_XmpString* text) const { xmp_string_free(text); }
};

boost::rational<int64_t> FramesPerSecond(tether::FrameRate frameRate) {
  return boost::rational<int64_t>(tether::kTicksPerSecond, frameRate);
}

// Whole frames in `seconds`, rounded towards minus infinity. Computed in 128
// bits, since a client may ask for any span; the result is kept small enough
// that a frame count times the frame length, or two counts added, stay in 64
// bits.
int64_t FramesIn(const tether::RatioTime& seconds, tether::FrameRate frameRate) {
  const __int128 numerator = static_cast<__int128>(seconds.numerator()) * tether::kTicksPerSecond;
  const __int128 denominator = static_cast<__int128>(seconds.denominator()) * frameRate;
  __int128 whole = numerator / denominator;
  if (numerator % denominator != 0 && numerator < 0) --whole;
  const __int128 limit = std::numeric_limits<int64_t>::max() / 4 / frameRate;
  return static_cast<int64_t>(std::clamp<__int128>(whole, -limit, limit));
}

// The xmpDM timeFormat of a rate, and the host's display that counts like it.
std::pair<std::string, kilnmediatypes::TimeDisplayType> TimeFormat(tether::FrameRate frameRate, bool dropFrame) {
  using namespace kilnmediatypes;
  const FrameRate rate(frameRate);
  if (rate == kFrameRate_Film23976) return {"23976Timecode", kTimeDisplayType_23976Timecode};
  if (rate == kFrameRate_Film24) return {"24Timecode", kTimeDisplayType_24Timecode};
  if (rate == kFrameRate_PAL25) return {"25Timecode", kTimeDisplayType_25Timecode};
  if (rate == kFrameRate_NTSC2997) {
    return dropFrame ? std::pair{std::string("2997DropTimecode"), kTimeDisplayType_2997DropTimecode}
                     : std::pair{std::string("2997NonDropTimecode"), kTimeDisplayType_2997NonDropTimecode};
  }
  if (rate == kFrameRate_30) return {"30Timecode", kTimeDisplayType_30Timecode};
  if (rate == kFrameRate_50) return {"50Timecode", kTimeDisplayType_50Timecode};
  if (rate == kFrameRate_5994) {
    return dropFrame ? std::pair{std::string("5994DropTimecode"), kTimeDisplayType_5994DropTimecode}
                     : std::pair{std::string("5994NonDropTimecode"), kTimeDisplayType_5994NonDropTimecode};
  }
  if (rate == kFrameRate_60) return {"60Timecode", kTimeDisplayType_60Timecode};
  return {"25Timecode", kTimeDisplayType_25Timecode};
}

std::string DecimalRate(tether::FrameRate frameRate) {
  const boost::rational<int64_t> fps = FramesPerSecond(frameRate);
  if (fps.denominator() == 1) return std::to_string(fps.numerator());
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", boost::rational_cast<double>(fps));
  std::string out = text;
  while (!out.empty() && out.back() == '0') out.pop_back();
  if (!out.empty() && out.back() == '.') out.pop_back();
  return out;
}

class Writer {
 public:
  explicit Writer(_Xmp* xmp) : mXmp(xmp) {}

  void Set(const char* schema, const char* name, const std::string& value, uint32_t options = 0) {
    mOK = xmp_set_property(mXmp, schema, name, value.c_str(), options) && mOK;
  }
  // Setting a field makes its struct; items of arrays are made here.
  void AppendStruct(const char* schema, const char* name, uint32_t arrayOptions) {
    mOK = xmp_append_array_item(mXmp, schema, name, arrayOptions, nullptr, XMP_PROP_VALUE_IS_STRUCT) && mOK;
  }
  void SetTitle(const std::string& title) {
    mOK = xmp_set_localized_text(mXmp, NS_DC, "title", "", "x-default", title.c_str(), 0) && mOK;
  }
  bool OK() const { return mOK; }

 private:
  _Xmp* mXmp;
  bool mOK = true;
};

void WriteTimes(Writer& writer, const XmpDescription& description, const tether::RatioTime& start,
                const tether::RatioTime& duration) {
  const tether::FrameRate rate = description.frameRate;
  const boost::rational<int64_t> frameLength = boost::rational<int64_t>(1) / FramesPerSecond(rate);
  writer.Set(kDynamicMedia, "duration/xmpDM:value", std::to_string(FramesIn(duration, rate)));
  writer.Set(kDynamicMedia, "duration/xmpDM:scale",
             std::to_string(frameLength.numerator()) + "/" + std::to_string(frameLength.denominator()));
  writer.Set(kDynamicMedia, "videoFrameRate", DecimalRate(rate));

  const auto [format, display] = TimeFormat(rate, description.dropFrame);
  const int64_t first = FramesIn(description.startTime, rate) + FramesIn(start, rate);
  const kilnmediatypes::TickTime time(first * rate);
  const kilncore::WideString timecode =
      Sill::Timecode(time, kilnmediatypes::FrameRate(rate), kilnmediatypes::TimeDisplay(display)).GetString();
  writer.Set(kDynamicMedia, "startTimecode/xmpDM:timeFormat", format);
  writer.Set(kDynamicMedia, "startTimecode/xmpDM:timeValue", kilncore::string::UTF16to8(timecode));
}

void WriteMarkers(Writer& writer, const XmpDescription& description, const tether::RatioTime& start,
                  const tether::RatioTime& duration) {
  const tether::FrameRate rate = description.frameRate;
  const int64_t first = FramesIn(start, rate);
  const int64_t end = first + FramesIn(duration, rate);
  bool hasTrack = false;
  int index = 0;
  for (const ItemMarker& marker : description.markers) {
    if (marker.frame < first || marker.frame >= end) continue;
    if (!hasTrack) {
      writer.AppendStruct(kDynamicMedia, "Tracks", XMP_PROP_VALUE_IS_ARRAY);
      writer.Set(kDynamicMedia, "Tracks[1]/xmpDM:trackName", "Markers");
      writer.Set(kDynamicMedia, "Tracks[1]/xmpDM:frameRate", XmpPacket::FrameRateText(rate));
      hasTrack = true;
    }
    writer.AppendStruct(kDynamicMedia, "Tracks[1]/xmpDM:markers", XMP_PROP_ARRAY_IS_ORDERED);
    const std::string path = "Tracks[1]/xmpDM:markers[" + std::to_string(++index) + "]/xmpDM:";
    writer.Set(kDynamicMedia, (path + "startTime").c_str(), std::to_string(marker.frame - first));
    writer.Set(kDynamicMedia, (path + "duration").c_str(), "0");
    writer.Set(kDynamicMedia, (path + "name").c_str(), marker.name);
  }
}

}  // namespace

std::string XmpPacket::FrameRateText(tether::FrameRate frameRate) {
  const boost::rational<int64_t> fps = FramesPerSecond(frameRate);
  if (fps.denominator() == 1) return "f" + std::to_string(fps.numerator());
  return "f" + std::to_string(fps.numerator()) + "s" + std::to_string(fps.denominator());
}

std::string XmpPacket::Build(const XmpDescription& description, const tether::RatioTime& start,
                             const tether::RatioTime& duration) {
  InitializeOnce();
  std::unique_ptr<_Xmp, XmpDeleter> xmp(xmp_new_empty());
  if (!xmp) return {};
  Writer writer(xmp.get());
  writer.SetTitle(description.title);
  writer.Set(NS_XAP, "CreatorTool", description.creatorTool);
  writer.Set(kDynamicMedia, "videoFrameSize/stDim:w", std::to_string(description.width));
  writer.Set(kDynamicMedia, "videoFrameSize/stDim:h", std::to_string(description.height));
  writer.Set(kDynamicMedia, "videoFrameSize/stDim:unit", "pixel");
  const bool hasRate = description.frameRate > 0 && description.frameRate != tether::kNoFrameRate;
  if (hasRate) {
    WriteTimes(writer, description, start, duration);
    WriteMarkers(writer, description, start, duration);
  }
  if (!writer.OK()) return {};
  std::unique_ptr<_XmpString, XmpStringDeleter> text(xmp_string_new());
  if (!xmp_serialize(xmp.get(), text.get(), 0, 0)) return {};
  return xmp_string_cstr(text.get());
}

}  // namespace tetherserver
