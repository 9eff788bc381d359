#pragma once

#include "SessionContent.h"

#include <server/project/Composition.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace tetherserver {

// An item whose pictures and sound are those of one Composition, drawn by the
// frame renderer and the audio synthesizer (so every frame carries its stamp):
// what the Sprocket, Easel and Darkslide handlers turn their documents into.
//
// `renderDelay` makes each frame take at least that long, as a heavy scene
// would; the delay gives way at once to a cancel (RenderFrameUnlessStopped).
class CompositionItem : public SessionItem {
 public:
  CompositionItem(std::shared_ptr<const Composition> composition, tether::SourceInfo info,
                  std::chrono::milliseconds renderDelay = {});

  // The description of `composition`, an item of the file `path`, made by
  // `producer` (UTF-8).
  static tether::SourceInfo Describe(const Composition& composition, const std::filesystem::path& path,
                                     const std::string& producer);

  tether::SourceInfo Describe() const override { return mInfo; }
  size_t FrameBytes(const tether::VideoRenderOptions& options) const override;
  int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                      unsigned char* target, size_t size) const override;
  int32_t RenderFrameUnlessStopped(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                                   unsigned char* target, size_t size,
                                   const std::function<bool()>& stopped) const override;
  int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                      float* target) const override;
  uint32_t SampleRate(const tether::AudioRenderOptions& options) const override;

 private:
  std::shared_ptr<const Composition> mComposition;
  tether::SourceInfo mInfo;
  std::chrono::milliseconds mRenderDelay;
};

}  // namespace tetherserver
