#pragma once

#include <host/output/FrameView.h>
#include <host/output/Rgba16Image.h>
#include <host/output/RgbaImage.h>

#include <KL/IVideoSource.h>
#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>

namespace tetherhost {

// Pulls frames of one video stream as a host's exporter does: frame by frame,
// each in the format settled for its time, blocking until the server has it.
class FramePuller {
 public:
  FramePuller(KL::IVideoSource& video, const RL::BinaryData& prefs, kilnmediatypes::FrameRate frameRate,
              kilnmediatypes::PixelFormat pixelFormat, int32_t width, int32_t height);

  // The time of frame `frame`, counted from the item's first frame.
  kilnmediatypes::TickTime TimeOf(int64_t frame) const;

  // The frame, converted for a picture file, at 8 or 16 bits a channel.
  // Throws HostError with the module's code when the frame can't be had.
  RgbaImage Pull(int64_t frame);
  Rgba16Image PullDeep(int64_t frame);

 private:
  // Fetches the frame and hands a view of it to `convert` while the module's
  // pane is alive.
  template <typename Convert>
  auto Fetch(int64_t frame, Convert convert);

  KL::IVideoSource& mVideo;
  const RL::BinaryData& mPrefs;
  kilnmediatypes::FrameRate mFrameRate;
  kilnmediatypes::PixelFormat mPixelFormat;
  int32_t mWidth;
  int32_t mHeight;
};

// A view of a frame that the module handed over for a request in `requested`
// (the format SelectFrameFormat settled). Throws HostError for a pixel format
// the host can't show, or for a frame whose bytes don't cover its rows.
FrameView ViewOf(const RL::IPane& frame, const RL::FrameFormat& requested);

}  // namespace tetherhost
