#include <host/commands/ClipReport.h>

#include <host/cli/Formatted.h>
#include <host/cli/ReadableNames.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <numeric>

namespace tetherhost {
namespace {

using JsonWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void Key(JsonWriter& json, const char* key, const std::string& value) {
  json.Key(key);
  json.String(value);
}

void Key(JsonWriter& json, const char* key, int64_t value) {
  json.Key(key);
  json.Int64(value);
}

}  // namespace

std::pair<int64_t, int64_t> RateFraction(kilnmediatypes::FrameRate rate) {
  if (!rate.HasRate()) return {0, 1};
  const int64_t ticks = rate.GetTicksPerFrame();
  const int64_t common = std::gcd(kilnmediatypes::kTicksPerSecond, ticks);
  return {kilnmediatypes::kTicksPerSecond / common, ticks / common};
}

std::string DescriptionText(const ClipDescription& clip) {
  std::string text =
      Formatted("item:          %s (%s)\n", clip.displayName.c_str(), clip.sourceID.AsUTF8String().c_str());
  text += Formatted("duration:      %.3f s, %lld frames\n", clip.duration.ToSeconds(),
                    static_cast<long long>(clip.frameCount));
  text += Formatted("frame rate:    %.3f fps\n", clip.frameRate.ToFramesPerSecond());
  text += Formatted("size:          %d x %d, pixel aspect %d:%d, %s\n", clip.width, clip.height,
                    clip.pixelAspectNumerator, clip.pixelAspectDenominator, FieldTypeName(clip.fieldType).c_str());
  text += Formatted("time display:  %s\n", TimeDisplayName(clip.timeDisplay).c_str());
  text += Formatted("streams:       %zu video, %zu audio", clip.videoStreams, clip.audioStreams);
  if (clip.audioStreams > 0) text += Formatted(" (%d Hz, %u channels)", clip.sampleRate, clip.audioChannels);
  text += Formatted("\ncontent state: %s\n", clip.contentState.AsUTF8String().c_str());
  return text;
}

std::string MissingFontsText(const std::vector<tether::MissingFont>& fonts) {
  if (fonts.empty()) return {};
  std::string names;
  for (const tether::MissingFont& font : fonts) {
    if (!names.empty()) names += ", ";
    names += font.identityA;
    if (!font.identityB.empty()) names += " " + font.identityB;
    if (!font.detailB.empty()) names += " (" + font.detailB + ")";
  }
  return "missing fonts: " + names + "\n";
}

std::string DescriptionJson(const ClipDescription& clip, const std::vector<tether::MissingFont>& fonts) {
  rapidjson::StringBuffer buffer;
  JsonWriter json(buffer);
  const auto [numerator, denominator] = RateFraction(clip.frameRate);
  json.StartObject();
  Key(json, "name", clip.displayName);
  Key(json, "id", clip.sourceID.AsUTF8String());
  Key(json, "content_state", clip.contentState.AsUTF8String());
  json.Key("duration");
  json.Double(clip.duration.ToSeconds());
  Key(json, "frames", clip.frameCount);
  Key(json, "time_display", TimeDisplayName(clip.timeDisplay));
  json.Key("streams");
  json.StartArray();
  if (clip.videoStreams > 0) {
    json.StartObject();
    Key(json, "type", "video");
    Key(json, "width", clip.width);
    Key(json, "height", clip.height);
    Key(json, "frame_rate", std::to_string(numerator) + "/" + std::to_string(denominator));
    Key(json, "pixel_aspect_ratio",
        std::to_string(clip.pixelAspectNumerator) + ":" + std::to_string(clip.pixelAspectDenominator));
    Key(json, "field_order", FieldTypeName(clip.fieldType));
    json.EndObject();
  }
  if (clip.audioStreams > 0) {
    json.StartObject();
    Key(json, "type", "audio");
    Key(json, "sample_rate", clip.sampleRate);
    Key(json, "channels", clip.audioChannels);
    json.EndObject();
  }
  json.EndArray();
  json.Key("missing_fonts");
  json.StartArray();
  for (const tether::MissingFont& font : fonts) {
    json.StartObject();
    Key(json, "family", font.identityA);
    Key(json, "style", font.identityB);
    Key(json, "full_name", font.detailA);
    Key(json, "file", font.detailB);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace tetherhost
