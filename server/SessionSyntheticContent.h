#pragma once

#include "SessionContent.h"

namespace tetherserver {

// The built-in content: every project path opens one project with two items,
// (the server reaches it through paths ending in ".synthetic"),
// whose pixels and samples are fixed functions of their position, so that a
// test anywhere can check any byte.
//
// - kItemID: 320x180 BGRA at 25 fps, 10 seconds, stereo at 48 kHz. Bounds in
//   the render options change the frame size.
// - kHangingItemID: the same, but its renders and audio blocks are never
//   answered, and neither is a renderer whose app options contain "hang".
// App options that contain "fill" make frames of one byte value (the frame
// number), written as fast as memory allows: for measuring the transport.
class SessionSyntheticContent : public SessionContent {
 public:
  static const kilncore::utility::Guid kItemID;
  static const kilncore::utility::Guid kHangingItemID;
  static constexpr uint32_t kWidth = 320;
  static constexpr uint32_t kHeight = 180;
  static constexpr int64_t kFramesPerSecond = 25;
  static constexpr uint32_t kSampleRate = 48000;

  // Byte `channel` (0 B, 1 G, 2 R, 3 A) of pixel (x, y) of frame `frame`.
  static uint8_t ExpectedByte(int64_t frame, uint32_t x, uint32_t y, uint32_t channel);
  // Sample `sample` of `channel`.
  static float ExpectedSample(int64_t sample, uint32_t channel);

  bool SupportsApplication(const std::string& application) const override;
  std::shared_ptr<const SessionProject> OpenProject(const std::string& application, const tether::File& file,
                                                    const std::string& json, int32_t& status,
                                                    const ProgressSink& progress) const override;
};

}  // namespace tetherserver
