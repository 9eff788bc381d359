#include "CompositionItem.h"

#include "DocumentJson.h"

#include <server/render/AudioSynthesizer.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>

#include <thread>

namespace tetherserver {
namespace {

// How often a slow render looks whether it was cancelled.
constexpr std::chrono::milliseconds kStopCheckInterval{5};

tether::PixelFormat ClientFormat(const kilnmediatypes::PixelFormat& format) {
  return tether::PixelFormat{format.fourcc, format.properties};
}

}  // namespace

CompositionItem::CompositionItem(std::shared_ptr<const Composition> composition, tether::SourceInfo info,
                                 std::chrono::milliseconds renderDelay)
    : mComposition(std::move(composition)), mInfo(std::move(info)), mRenderDelay(renderDelay) {}

tether::SourceInfo CompositionItem::Describe(const Composition& composition, const std::filesystem::path& path,
                                             const std::string& producer) {
  tether::SourceInfo info;
  info.file = tether::File(kilncore::string::UTF8to16(path.string()), false);
  info.name = kilncore::string::UTF8to16(composition.name);
  info.producerDescription = kilncore::string::UTF8to16(producer);
  info.sourceID = composition.id;
  info.startTime = composition.StartTime();
  info.pixelAspectRatio = composition.pixelAspectRatio;
  info.width = composition.width;
  info.height = composition.height;
  info.frameRate = composition.FrameTicks();
  info.nativePixelFormats = {ClientFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u),
                             ClientFormat(kilnmediatypes::kPixelFormat_RGBA_4444_32f)};
  info.fieldType = composition.fieldType;
  if (composition.audio.HasAudio()) {
    info.hasAudio = true;
    info.audioChannelLayout = composition.audio.channelLabels;
    info.audioSampleRate = tether::kTicksPerSecond / composition.audio.sampleRate;
  }
  info.contentState = composition.contentState;
  info.hasVideo = true;
  info.duration = composition.Duration();
  info.workInPoint = composition.FramesToTime(0);
  info.workOutPoint = composition.Duration();
  info.colorSpace = tether::ColorSpace{composition.colorSpace};
  return info;
}

size_t CompositionItem::FrameBytes(const tether::VideoRenderOptions& options) const {
  auto settings = RenderSettings::Resolve(*mComposition, options);
  return settings ? settings->FrameBytes() : 0;
}

int32_t CompositionItem::RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                                     unsigned char* target, size_t size) const {
  return RenderFrameUnlessStopped(options, time, target, size, [] { return false; });
}

int32_t CompositionItem::RenderFrameUnlessStopped(const tether::VideoRenderOptions& options,
                                                  const tether::RatioTime& time, unsigned char* target,
                                                  size_t size, const std::function<bool()>& stopped) const {
  const auto deadline = std::chrono::steady_clock::now() + mRenderDelay;
  while (std::chrono::steady_clock::now() < deadline) {
    if (stopped()) return tether::wire::kStatusRenderCancelled;
    std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
        kStopCheckInterval, deadline - std::chrono::steady_clock::now()));
  }
  auto settings = RenderSettings::Resolve(*mComposition, options);
  if (!settings) return DocumentJson::StatusOf(settings.error);
  if (size < settings->FrameBytes()) return tether::wire::kStatusFailed;
  return DocumentJson::StatusOf(FrameRenderer::Render(*mComposition, time, *settings, settings->MakeBuffer(target)));
}

int32_t CompositionItem::RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                                     float* target) const {
  const auto channels = static_cast<uint32_t>(options.GetAudioChannelLayout().size());
  return DocumentJson::StatusOf(AudioSynthesizer::RenderBlock(*mComposition, SampleRate(options), start, frames, channels, target,
                                                size_t{frames} * channels));
}

uint32_t CompositionItem::SampleRate(const tether::AudioRenderOptions& options) const {
  return AudioSynthesizer::SampleRateOfTicks(options.GetSampleRate());
}

}  // namespace tetherserver
