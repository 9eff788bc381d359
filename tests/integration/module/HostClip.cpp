#include "HostClip.h"

#include <module/TetherMediaModule.h>

#include <RL/MediaType.h>
#include <TetherMedia/Prefs.h>

#include <gtest/gtest.h>

#include <utility>

namespace TetherMedia::integration {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

namespace {

RL::BinaryData ClipPrefs(const Guid& id, const tether::MarlRenderOptions* options) {
  if (!options) return SourceIDToPrefs(id);
  return BuildPrefsWithApplicationSpecificRenderOptions(id.AsString(), options->AsString());
}

}  // namespace

HostClip::HostClip(const kilncore::WideString& path, const Guid& id, const tether::MarlRenderOptions* options)
    : mPrefs(ClipPrefs(id, options)) {
  bool prefsChanged = false;
  mImportResult =
      TetherMediaModule().ImportFile(mItem, path, 0, 0, mPrefs, prefsChanged, true, false, u"", 0, nullptr, 0, nullptr);
}

HostClip::HostClip(InterfaceRef<KL::IMediaInfo> item, RL::BinaryData prefs, int32_t result)
    : mPrefs(std::move(prefs)), mItem(std::move(item)), mImportResult(result) {}

InterfaceRef<RL::ISource> HostClip::Stream(const Guid& mediaType) const {
  InterfaceRef<RL::ISource> stream;
  if (!mItem) return stream;
  kilnmediatypes::FrameRate rate;
  if (const InterfaceRef<KL::IVideoSource> video(mItem->GetStream(RL::kMediaType_Video, 0)); video) {
    video->GetFrameRate(rate);
  }
  EXPECT_EQ(mItem->CreateSourceForStream(mediaType, 0, mPrefs, rate, u"", u"", u"", u"", stream), 0);
  return stream;
}

InterfaceRef<KL::IVideoSource> HostClip::Video() const {
  return InterfaceRef<KL::IVideoSource>(Stream(RL::kMediaType_Video));
}

InterfaceRef<KL::IAsyncVideoSource> HostClip::AsyncVideo() const {
  return InterfaceRef<KL::IAsyncVideoSource>(Stream(RL::kMediaType_Video));
}

InterfaceRef<DR::IAudioSource> HostClip::Audio() const {
  return InterfaceRef<DR::IAudioSource>(Stream(RL::kMediaType_Audio));
}

RL::FrameFormat HostClip::Select(TickTime time, RL::FrameFormat wanted) const {
  EXPECT_GE(Video()->SelectFrameFormat(time, wanted), 0);
  return wanted;
}

Guid HostClip::FrameIdentifier(TickTime time, const RL::FrameFormat& format) const {
  Guid identifier;
  EXPECT_GE(Video()->GetIdentifierForSourceVideo(identifier, time, format, mPrefs), 0);
  return identifier;
}

RL::FrameFormat WantedFormat(kilnmediatypes::PixelFormat pixelFormat, int32_t width, int32_t height) {
  RL::FrameFormat format;
  format.pixelFormat = pixelFormat;
  format.width = width;
  format.height = height;
  format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Square;
  format.fieldType = kilnmediatypes::kFieldType_Progressive;
  return format;
}

}  // namespace TetherMedia::integration
