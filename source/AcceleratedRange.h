#pragma once

#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/TickTime.h>

#include <vector>

namespace TetherMedia {

// The pixel formats that the server's accelerated renderer offers for the
// times [StartTime, EndTime).
struct AcceleratedRange {
  kilnmediatypes::TickTime StartTime;
  kilnmediatypes::TickTime EndTime;
  std::vector<kilnmediatypes::PixelFormat> PixelFormats;

  // Whether `time` lies in [StartTime, EndTime).
  bool Holds(kilnmediatypes::TickTime time) const { return StartTime <= time && time < EndTime; }

  friend bool operator==(const AcceleratedRange&, const AcceleratedRange&) = default;
};

}  // namespace TetherMedia
