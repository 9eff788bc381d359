#pragma once

#include <server/project/Composition.h>
#include <server/sprocket/SprocketScene.h>

namespace tetherserver {

// Turns a Sprocket scene, with the render options of its project, into the
// composition that the frame renderer draws and the audio synthesizer sounds:
// the background, then each prop in order, then the frame number when the
// options ask for it. The options are part of the content: other options, other
// content state.
class SprocketRenderer {
 public:
  static Composition Build(const SprocketScene& scene, const SprocketRenderOptions& options);
};

}  // namespace tetherserver
