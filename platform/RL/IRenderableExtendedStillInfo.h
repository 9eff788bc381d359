#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace RL {

// Tells which stretches of a stream show a still picture, so that the host can
// render one frame for a whole stretch.
class IRenderableExtendedStillInfo : public kilncore::classref::Unknown {
 public:
  using TimeRange = std::pair<kilnmediatypes::TickTime, kilnmediatypes::TickTime>;

  ~IRenderableExtendedStillInfo() override;

  // The still range [start, end) that holds `time`, or an empty range.
  virtual int32_t GetStillRangeAt(kilnmediatypes::TickTime time, TimeRange& outRange) = 0;
  // Appends to `inOutRanges` the still ranges that meet [start, end).
  virtual int32_t GetStillRangesInRange(kilnmediatypes::TickTime start, kilnmediatypes::TickTime end,
                                        std::vector<TimeRange>& inOutRanges) = 0;

 protected:
  IRenderableExtendedStillInfo() = default;
};

}  // namespace RL
