#pragma once

#include <kilncore/string/WideString.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <cstdint>

namespace Sill {

// A time shown as the host shows it in a media's properties.
//
// The time is counted in whole frames of `rate` (rounded towards minus
// infinity) and written as "HH:MM:SS:FF" at the nominal rate of `rate`
// (29.97 counts as 30, 23.976 as 24, 59.94 as 60). When `display` is a
// drop-frame display and the nominal rate is 30 or 60, the labels 00 and 01
// (00 to 03 at 60) of every minute but each tenth are skipped, and ';' stands
// before the frames. Hours run on past 24, so a long item keeps its length.
// A frame-count display gives the plain number of frames. Without a rate the
// text is "00:00:00:00". A negative time starts with '-'.
class Timecode {
 public:
  Timecode(kilnmediatypes::TickTime time, kilnmediatypes::FrameRate rate, kilnmediatypes::TimeDisplay display);

  kilncore::WideString GetString() const;

  // The whole frames of the time at the rate, 0 without a rate.
  int64_t GetFrameCount() const noexcept { return mFrames; }
  bool IsDropFrame() const noexcept { return mDropFrame; }

 private:
  int64_t mFrames = 0;
  int64_t mNominalRate = 0;
  bool mDropFrame = false;
  bool mFrameCount = false;
};

}  // namespace Sill
