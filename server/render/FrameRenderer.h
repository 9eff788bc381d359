#pragma once

#include <server/project/Composition.h>
#include <server/project/ProjectError.h>
#include <server/render/FrameBuffer.h>
#include <server/render/RenderSettings.h>

#include <tether/MediaTypes.h>

#include <kilnmediatypes/TickTime.h>

namespace tetherserver {

// Draws frames of a composition into caller-given memory.
//
// Stateless and reentrant: any number of threads may render frames of one
// composition at once (the composition is read-only).
class FrameRenderer {
 public:
  // Renders the frame at `time` (seconds from the composition's first frame)
  // into `target`, then writes the frame stamp into its first 16 pixels.
  //
  // `target` must have the size and pixel format of `settings`
  // (settings.MakeBuffer gives such a description), rows of at least
  // settings.MinRowBytes() and a non-null `data`; else kBadBuffer and nothing
  // is written. Every pixel of the frame is written; padding at the end of a
  // row is left alone. How layers, guide layers, down-sampling and fields are
  // drawn: docs/project-format.md, "Rendering".
  static ProjectError Render(const Composition& composition, const tether::RatioTime& time,
                             const RenderSettings& settings, const FrameBuffer& target);
  static ProjectError Render(const Composition& composition, kilnmediatypes::TickTime time,
                             const RenderSettings& settings, const FrameBuffer& target);
};

}  // namespace tetherserver
