#pragma once

#include <processcoordination/BinaryReference.h>

#include <kilncore/utility/Guid.h>

#include <functional>
#include <memory>

namespace tether {

// A server-side audio reader that only goes forward: opened at a position, it
// hands out one block after the other.
class AudioRenderer {
 public:
  using RenderCallback = std::function<void(
      const kilncore::utility::Guid&, const std::shared_ptr<processcoordination::BinaryReference>&, int)>;

  virtual ~AudioRenderer() = default;

  // Delivers the next block: interleaved 32-bit float samples of the channels
  // of the renderer's options. `callback` is called once, later, on a thread of
  // the library, with `identifier`, the block (null on failure) and the status.
  virtual void RenderAudio(RenderCallback callback, const kilncore::utility::Guid& identifier) = 0;
};

}  // namespace tether
