#pragma once

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>

namespace TetherMedia {

// The creator registered for kTetherMediaModuleClassID. Hands out the same
// TetherMediaModule for as long as anybody holds it, and a new one once the
// last reference has gone. Thread-safe.
kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> CreateTetherMediaModule();

}  // namespace TetherMedia
