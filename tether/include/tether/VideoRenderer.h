#pragma once

#include <tether/MediaTypes.h>

#include <processcoordination/BinaryReference.h>

#include <kilncore/utility/Guid.h>

#include <functional>
#include <memory>

namespace tether {

// A server-side renderer for one combination of VideoRenderOptions.
class VideoRenderer {
 public:
  // The job's identifier, the frame (null on failure) and the status: 0 with a
  // frame means delivered.
  using RenderCallback = std::function<void(
      const kilncore::utility::Guid&, const std::shared_ptr<processcoordination::BinaryReference>&, int)>;

  virtual ~VideoRenderer() = default;

  // Renders the frame at `time`, as job `identifier`. `callback` is called once,
  // later, on a thread of the library.
  virtual void RenderVideo(RenderCallback callback, const kilncore::utility::Guid& identifier,
                           const RatioTime& time) = 0;
  // Asks the server to give up job `identifier`. Its callback still comes.
  virtual void CancelVideoRender(const kilncore::utility::Guid& identifier) = 0;
};

}  // namespace tether
