#include <server/tolmen/SequenceItem.h>

#include <server/ProjectLinks.h>

#include <server/render/BurnInText.h>
#include <server/render/FontCatalog.h>
#include <metadata/ItemMetadata.h>
#include <server/render/FrameRenderer.h>
#include <server/render/FrameStamp.h>

#include <ProjectXML/ProjectXMLWriter.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/RatioTime.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace tetherserver {

namespace {

using kilnmediatypes::MakeFourCC;

constexpr char kProducer[] = "Tolmen host project";
// The offline slate's colour: editors' "media offline" red, darkened.
constexpr Rgba kSlateColor{0.45f, 0.05f, 0.05f, 1.0f};
constexpr Rgba kBlack{0.0f, 0.0f, 0.0f, 1.0f};
// The slate's letters: the server's own choice of font, and no letters in a
// frame narrower than this, where they couldn't be read.
constexpr char kSlateFont[] = "DejaVu Sans";
constexpr uint32_t kSlateTextMinWidth = 320;
constexpr double kToneHz = 440.0;
constexpr float kToneLevel = 0.25f;

kilncore::utility::Guid ContentStateOf(const ProjectXML::Item& item) {
  ProjectXML::ProjectDocument document;
  document.items.push_back(item);
  const std::string text = ProjectXML::ProjectXMLWriter::Write(document);
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, text.data(), text.size());
  kilncore::utility::Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

// Writes one pixel, composited over black, in the buffer's format.
void PutPixel(const FrameBuffer& target, uint32_t x, uint32_t y, const uint8_t* rgba) {
  const float a = rgba[3] / 255.0f;
  const float r = rgba[0] / 255.0f * a;
  const float g = rgba[1] / 255.0f * a;
  const float b = rgba[2] / 255.0f * a;
  const bool bgr = target.format.fourcc == MakeFourCC('B', 'G', 'R', 'A') ||
                   target.format.fourcc == MakeFourCC('B', 'G', 'R', 'F');
  const float channels[4] = {bgr ? b : r, g, bgr ? r : b, a};
  auto* row = static_cast<uint8_t*>(target.data) + size_t{y} * target.rowBytes;
  if (IsFloatPixelFormatCode(target.format.fourcc)) {
    float* pixel = reinterpret_cast<float*>(row) + size_t{x} * 4;
    std::copy(channels, channels + 4, pixel);
  } else {
    uint8_t* pixel = row + size_t{x} * 4;
    for (int c = 0; c < 4; ++c) pixel[c] = static_cast<uint8_t>(std::lround(channels[c] * 255.0f));
  }
}

// `image` scaled to the whole frame, nearest sample.
void DrawImage(const MediaCache::Image& image, const FrameBuffer& target) {
  for (uint32_t y = 0; y < target.height; ++y) {
    const uint32_t sourceY = static_cast<uint32_t>(uint64_t{y} * image.height / target.height);
    for (uint32_t x = 0; x < target.width; ++x) {
      const uint32_t sourceX = static_cast<uint32_t>(uint64_t{x} * image.width / target.width);
      PutPixel(target, x, y, &image.rgba[(size_t{sourceY} * image.width + sourceX) * 4]);
    }
  }
}

}  // namespace

SequenceItem::SequenceItem(const ProjectXML::Item& item, const tether::File& projectFile,
                           std::shared_ptr<MediaCache> media)
    : mProjectFile(projectFile),
      mView(MakeView(item)),
      mTimeline(*item.sequence,
                std::filesystem::path(kilncore::string::UTF16to8(projectFile.FullPath())).parent_path()),
      mMedia(std::move(media)) {}

Composition SequenceItem::MakeView(const ProjectXML::Item& item) {
  const ProjectXML::Sequence& sequence = *item.sequence;
  Composition view;
  view.id = item.id;
  view.name = item.name;
  view.width = static_cast<uint32_t>(sequence.width);
  view.height = static_cast<uint32_t>(sequence.height);
  view.rateNumerator = sequence.frameRate.numerator;
  view.rateDenominator = sequence.frameRate.denominator;
  view.pixelAspectRatio = tether::PixelAspectRatio{static_cast<int32_t>(sequence.pixelAspect.numerator),
                                                   static_cast<int32_t>(sequence.pixelAspect.denominator)};
  view.fieldType = static_cast<tether::FieldType>(sequence.fieldOrder);
  view.contentState = ContentStateOf(item);
  SequenceTimeline timeline(sequence, {});
  view.durationFrames = std::max<int64_t>(1, timeline.DurationFrames());
  view.workAreaOutFrame = view.durationFrames;
  return view;
}

bool SequenceItem::ContainsLink() const {
  return !ProjectLinks::Of(mTimeline.GetSequence(),
                           std::filesystem::path(kilncore::string::UTF16to8(mProjectFile.FullPath())))
              .empty();
}

tether::SourceInfo SequenceItem::Describe() const {
  const ProjectXML::Sequence& sequence = mTimeline.GetSequence();
  tether::SourceInfo info;
  info.file = mProjectFile;
  info.name = kilncore::string::UTF8to16(mView.name);
  info.producerDescription = kilncore::string::UTF8to16(kProducer);
  info.sourceID = mView.id;
  info.pixelAspectRatio = mView.pixelAspectRatio;
  info.width = mView.width;
  info.height = mView.height;
  info.frameRate = mView.FrameTicks();
  info.nativePixelFormats = {tether::PixelFormat{MakeFourCC('B', 'G', 'R', 'A'), 0},
                             tether::PixelFormat{MakeFourCC('R', 'G', 'B', 'F'), 0}};
  info.fieldType = mView.fieldType;
  if (sequence.audioChannels > 0) {
    info.hasAudio = true;
    // Mono and stereo are labelled; wider layouts are discrete channels.
    info.audioChannelLayout.assign(sequence.audioChannels, kilnmediatypes::kAudioChannelLabel_Discrete);
    if (sequence.audioChannels == 1) info.audioChannelLayout = {kilnmediatypes::kAudioChannelLabel_Mono};
    if (sequence.audioChannels == 2) {
      info.audioChannelLayout = {kilnmediatypes::kAudioChannelLabel_Left, kilnmediatypes::kAudioChannelLabel_Right};
    }
    info.audioSampleRate = tether::kTicksPerSecond / sequence.audioRate;
  }
  info.contentState = mView.contentState;
  info.hasVideo = true;
  info.duration = mView.Duration();
  info.workInPoint = mView.FramesToTime(0);
  info.workOutPoint = mView.Duration();
  info.isSequence = true;
  info.maxRenderQualityPercent = sequence.maximumRenderQuality ? 100 : 50;
  for (const ProjectXML::Marker& marker : sequence.markers) info.markers.push_back(marker.name);
  return info;
}

size_t SequenceItem::FrameBytes(const tether::VideoRenderOptions& options) const {
  auto settings = RenderSettings::Resolve(mView, options);
  return settings ? settings->FrameBytes() : 0;
}

int32_t SequenceItem::RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                                  unsigned char* target, size_t size) const {
  auto settings = RenderSettings::Resolve(mView, options);
  if (!settings) return tether::wire::kStatusNotSupported;
  if (size < settings->FrameBytes()) return tether::wire::kStatusFailed;
  const std::optional<uint32_t> clip = ClipNumberOf(options.GetAppSpecificRenderOptionsJSONString());
  const SequenceTimeline* timeline = &mTimeline;
  std::optional<SequenceTimeline> alone;
  if (clip) {
    alone.emplace(mTimeline.ClipAlone(*clip));
    timeline = &*alone;
  }
  DrawFrame(*timeline, kilnmediatypes::RatioTimeToTime(time).GetTicks(), *settings, settings->MakeBuffer(target));
  return tether::wire::kStatusOK;
}

std::optional<uint32_t> SequenceItem::ClipNumberOf(const kilncore::WideString& options) {
  if (options.empty() || options.size() > 10) return std::nullopt;
  uint64_t number = 0;
  for (char16_t digit : options) {
    if (digit < u'0' || digit > u'9') return std::nullopt;
    number = number * 10 + static_cast<uint64_t>(digit - u'0');
  }
  if (number == 0 || number > 0x7FFFFFFF) return std::nullopt;
  return static_cast<uint32_t>(number);
}

void SequenceItem::AddSlateText(const ProjectXML::Clip& clip, int64_t frame, Composition& canvas) const {
  const double left = mView.width / 16.0;
  const bool legible = mView.width >= kSlateTextMinWidth && FontCatalog::Instance().Resolve(kSlateFont, "");
  if (!legible) {
    // Without the font, or in a frame too small for letters: the timecode in
    // the burn-in digits, which need no font.
    Layer timecode;
    timecode.type = Layer::Type::kTimecodeBurnIn;
    timecode.from = Vec2{left, mView.height / 2.0};
    timecode.scale = std::max<uint32_t>(2, mView.width / 120);
    canvas.layers.push_back(timecode);
    return;
  }
  auto line = [&](std::string text, double baseline, double size) {
    Layer layer;
    layer.type = Layer::Type::kText;
    layer.text = std::move(text);
    layer.fontFamily = kSlateFont;
    layer.fontSize = size;
    layer.from = Vec2{left, baseline};
    layer.color = Rgba{1.0f, 1.0f, 1.0f, 1.0f};
    canvas.layers.push_back(std::move(layer));
  };
  line(BurnInText::Timecode(canvas, frame), mView.height / 2.0, mView.height / 12.0);
  line(clip.name.empty() ? std::string("Media offline") : clip.name, mView.height * 0.72, mView.height / 20.0);
  line(clip.media.empty() ? std::string("no media") : clip.media, mView.height * 0.80, mView.height / 32.0);
}

void SequenceItem::DrawFrame(const SequenceTimeline& timeline, int64_t ticks, const RenderSettings& settings,
                             const FrameBuffer& target) const {
  const int64_t frame = timeline.TicksToFrame(ticks);
  const ProjectXML::Clip* clip = timeline.TopmostVideoClipAt(frame);
  std::shared_ptr<const MediaCache::Image> image;
  if (clip) image = mMedia->FindImage(timeline.MediaPathAt(*clip, frame));
  // The background, the slate's timecode and the stamp come from the Marl
  // renderer over a one-layer composition; a picture is drawn over it.
  Composition canvas = mView;
  Layer background;
  background.color = clip && !image ? kSlateColor : kBlack;
  canvas.layers.push_back(background);
  if (clip && !image) {
    // The slate shows the source frame rather than the sequence's.
    canvas.startFrame = SequenceTimeline::MediaFrameAt(*clip, frame) - frame;
    AddSlateText(*clip, frame, canvas);
  }
  FrameRenderer::Render(canvas, kilnmediatypes::TickTime(ticks), settings, target);
  if (!image) return;
  DrawImage(*image, target);
  FrameStamp stamp;
  stamp.pixelFormatCode = FrameStamp::PixelFormatCode(settings.pixelFormat.fourcc);
  stamp.fieldType = static_cast<uint8_t>(settings.fieldType);
  stamp.ticks = ticks;
  stamp.frameNumber = frame;
  stamp.optionsHash = settings.optionsHash;
  stamp.contentState = mView.contentState;
  stamp.width = static_cast<uint16_t>(std::min<uint32_t>(settings.width, 0xFFFF));
  stamp.height = static_cast<uint16_t>(std::min<uint32_t>(settings.height, 0xFFFF));
  WriteFrameStamp(stamp, target);
}

uint32_t SequenceItem::SampleRate(const tether::AudioRenderOptions& options) const {
  const tether::FrameRate ticks = options.GetSampleRate();
  if (ticks <= 0 || tether::kTicksPerSecond % ticks != 0) return mTimeline.GetSequence().audioRate;
  return static_cast<uint32_t>(tether::kTicksPerSecond / ticks);
}

int32_t SequenceItem::RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                                  float* target) const {
  const uint32_t rate = SampleRate(options);
  const size_t channels = options.GetAudioChannelLayout().size();
  if (rate == 0 || channels == 0) return tether::wire::kStatusNotSupported;
  std::fill(target, target + size_t{frames} * channels, 0.0f);
  const ProjectXML::Ratio& fps = mTimeline.GetSequence().frameRate;
  for (uint32_t i = 0; i < frames; ++i) {
    const int64_t sample = start + i;
    // The sequence frame of this sample, and the time within the clip.
    const __int128 scaled = static_cast<__int128>(sample) * fps.numerator;
    const int64_t frame = static_cast<int64_t>(scaled / (static_cast<__int128>(rate) * fps.denominator));
    for (const ProjectXML::Clip* clip : mTimeline.AudioClipsAt(frame)) {
      const double seconds = static_cast<double>(sample) / rate -
                             static_cast<double>(clip->start - clip->in) * fps.denominator / fps.numerator;
      const auto sound = mMedia->FindSound(mTimeline.MediaPathAt(*clip, frame));
      for (size_t c = 0; c < channels; ++c) {
        float value = kToneLevel * static_cast<float>(std::sin(2.0 * std::numbers::pi * kToneHz * seconds));
        if (sound) {
          // The nearest sample: truncating would take the one before when
          // the time lands a hair below it.
          const int64_t index = std::llround(seconds * sound->sampleRate);
          const size_t source = c % sound->channels;
          value = index >= 0 && static_cast<size_t>(index) * sound->channels + source < sound->samples.size()
                      ? sound->samples[static_cast<size_t>(index) * sound->channels + source]
                      : 0.0f;
        }
        target[size_t{i} * channels + c] += value;
      }
    }
  }
  return tether::wire::kStatusOK;
}

tether::CaptionData SequenceItem::Captions() const {
  return ItemMetadata::CaptionsOfTracks(mTimeline.GetSequence().captionTracks, mView.FrameTicks());
}

std::string SequenceItem::RenderXMP(const tether::RatioTime& start, const tether::RatioTime& duration) const {
  std::vector<ItemMarker> markers;
  for (const ProjectXML::Marker& marker : mTimeline.GetSequence().markers) markers.push_back({marker.frame, marker.name});
  return ItemMetadata::RenderXMP(Describe(), std::move(markers), start, duration);
}

}  // namespace tetherserver
