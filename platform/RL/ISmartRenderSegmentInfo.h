#pragma once

#include <RL/SmartRenderSegment.h>

#include <kilncore/classref/Unknown.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>
#include <map>

namespace RL {

// Tells which stretches of a sequence can be taken over from existing media
// without rendering (smart rendering).
class ISmartRenderSegmentInfo : public kilncore::classref::Unknown {
 public:
  ~ISmartRenderSegmentInfo() override;

  // Fills `outSegments`, keyed by the start of each segment, for the stretch
  // [start, end) delivered in `format`. The two flags and `reserved` belong to
  // the caller and are handed on to whoever answers.
  virtual void DetermineSmartRenderSegmentsInRange(
      kilnmediatypes::TickTime start, kilnmediatypes::TickTime end,
      const kilnmediatypes::PixelFormat& format, bool flagA, bool flagB, int32_t reserved,
      std::map<kilnmediatypes::TickTime, SmartRenderSegment>& outSegments) = 0;

 protected:
  ISmartRenderSegmentInfo() = default;
};

}  // namespace RL
