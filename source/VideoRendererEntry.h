#pragma once

#include <tether/VideoRenderOptions.h>
#include <tether/VideoRenderer.h>

#include <memory>

namespace TetherMedia {

// One server renderer of a source's pool, with the exact options it was made
// for. Two entries are the same when their options are; the renderer itself
// isn't compared.
struct VideoRendererEntry {
  tether::VideoRenderOptions options;
  std::shared_ptr<tether::VideoRenderer> renderer;

  friend bool operator==(const VideoRendererEntry& a, const VideoRendererEntry& b) {
    return a.options == b.options;
  }
};

}  // namespace TetherMedia
