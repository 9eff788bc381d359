#pragma once

#include <server/project/Composition.h>

#include <cstdint>
#include <string>

namespace tetherserver {

// The texts that burn-in layers draw for a frame.
class BurnInText {
 public:
  // The composition's frame number: startFrame + frameIndex, in decimal, with
  // a leading '-' when negative.
  static std::string FrameNumber(const Composition& composition, int64_t frameIndex);

  // The timecode of frame startFrame + frameIndex as HH:MM:SS:FF at the
  // composition's nominal rate (29.97 counts as 30). Drop-frame compositions
  // skip frame labels 0 and 1 (0 to 3 at 59.94) of every minute but each
  // tenth, and write ';' before FF. Frames before 0 show 00:00:00:00; hours
  // wrap at 24.
  static std::string Timecode(const Composition& composition, int64_t frameIndex);
};

}  // namespace tetherserver
