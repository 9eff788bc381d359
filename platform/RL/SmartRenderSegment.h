#pragma once

#include <kilncore/string/WideString.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>

namespace RL {

// One stretch of a sequence that can be taken over from existing media without
// rendering it: where it lies in the sequence, which clip and which part of
// that clip's media covers it.
struct SmartRenderSegment {
  int32_t ClipID = 0;
  kilnmediatypes::TickTime StartTime;
  kilnmediatypes::TickTime EndTime;
  kilnmediatypes::TickTime SegmentOffset;
  kilnmediatypes::TickTime ClipStartTime;
  kilnmediatypes::TickTime ClipEndTime;
  kilncore::WideString ClipPath;
  kilnmediatypes::TickTime MediaStartTime;
  kilnmediatypes::TickTime MediaEndTime;

  friend bool operator==(const SmartRenderSegment&, const SmartRenderSegment&) = default;
};

}  // namespace RL
