#pragma once

#include <server/easel/EaselDocument.h>
#include <server/project/Composition.h>

namespace tetherserver {

// Turns an Easel document into the composition that the frame renderer draws:
// a canvas-sized still of its visible layers, bottom first, with no sound.
class EaselRenderer {
 public:
  static Composition Build(const EaselDocument& document);
};

}  // namespace tetherserver
