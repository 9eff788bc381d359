#pragma once

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>

#include <cstdint>

namespace TetherMedia {

// A per-clip stream made for smart rendering: the callback instance id that
// the host reaches it by, and the object that keeps the stream alive.
struct ClipStreamEntry {
  int32_t instanceID = 0;
  kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> stream;
};

}  // namespace TetherMedia
