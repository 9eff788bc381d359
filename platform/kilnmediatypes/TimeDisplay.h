#pragma once

#include <kilnmediatypes/FrameRate.h>

#include <kilncore/utility/Seam.h>

#include <cstdint>

namespace kilnmediatypes {

// How the host shows a time to the user: as timecode at one of the standard
// rates, as frames, or not at all. A plain integer so that stored values and
// literals convert without casts.
using TimeDisplayType = int32_t;

inline constexpr TimeDisplayType kTimeDisplayType_23976Timecode = 100;
inline constexpr TimeDisplayType kTimeDisplayType_24Timecode = 101;
inline constexpr TimeDisplayType kTimeDisplayType_2997DropTimecode = 102;
inline constexpr TimeDisplayType kTimeDisplayType_2997NonDropTimecode = 103;
inline constexpr TimeDisplayType kTimeDisplayType_25Timecode = 104;
inline constexpr TimeDisplayType kTimeDisplayType_30Timecode = 105;
inline constexpr TimeDisplayType kTimeDisplayType_50Timecode = 106;
inline constexpr TimeDisplayType kTimeDisplayType_5994DropTimecode = 107;
inline constexpr TimeDisplayType kTimeDisplayType_5994NonDropTimecode = 108;
inline constexpr TimeDisplayType kTimeDisplayType_60Timecode = 109;
inline constexpr TimeDisplayType kTimeDisplayType_48Timecode = 110;
inline constexpr TimeDisplayType kTimeDisplayType_47952Timecode = 111;
inline constexpr TimeDisplayType kTimeDisplayType_100Timecode = 112;
inline constexpr TimeDisplayType kTimeDisplayType_11988Timecode = 113;
inline constexpr TimeDisplayType kTimeDisplayType_120Timecode = 114;
// A plain frame count.
inline constexpr TimeDisplayType kTimeDisplayType_Frames = 120;
// No time display: the item has no rate that a display could follow.
inline constexpr TimeDisplayType kTimeDisplayType_None = 999;

// A time display, by its type. A default-built display is
// TimeDisplay(kTimeDisplayType_None).
class TimeDisplay {
 public:
  constexpr TimeDisplay() noexcept = default;
  constexpr explicit TimeDisplay(TimeDisplayType type) noexcept : mType(type) {}

  constexpr TimeDisplayType GetType() const noexcept { return mType; }

  // True for the drop-frame timecodes (29.97 and 59.94 drop).
  bool IsDropFrame() const noexcept;

  // The frame rate that a timecode display counts in; kFrameRate_None for
  // frames, none, and types that aren't known.
  FrameRate GetFrameRate() const noexcept;

  friend constexpr bool operator==(TimeDisplay, TimeDisplay) noexcept = default;

 private:
  TimeDisplayType mType = kTimeDisplayType_None;
};

// The time display that suits `rate`:
// - a rate of the standard table (23.976, 24, 25, 29.97, 30, 47.952, 48, 50,
//   59.94, 60, 100, 119.88, 120) gives its timecode; `dropFrame` selects the
//   drop-frame timecode at 29.97 and 59.94 and is ignored at the other rates,
//   which have none;
// - with `matchNearbyRates`, a frame length within 10 parts per million of a
//   table rate counts as that rate (rates that were once floating-point);
//   table rates themselves are 0.1% or more apart;
// - any other rate, and no rate, gives `defaultType`, or kTimeDisplayType_Frames
//   if `framesForOtherRates` is true and there is a rate.
TimeDisplay GetTimeDisplayForFrameRate(const FrameRate& rate, bool dropFrame,
                                       bool framesForOtherRates, TimeDisplayType defaultType,
                                       bool matchNearbyRates);
// Host policy seam of GetTimeDisplayForFrameRate (see kilncore/utility/Seam.h):
// the table of rates and displays is the host's.
kilncore::utility::Seam<TimeDisplay(const FrameRate&, bool, bool, TimeDisplayType, bool)>&
GetTimeDisplayForFrameRateSeam();

}  // namespace kilnmediatypes
