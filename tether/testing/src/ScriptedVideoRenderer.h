#pragma once

#include "ScriptedObject.h"

#include <tether/VideoRenderer.h>

#include <cstddef>

namespace tether::testing {

// A video renderer of the double: each delivered frame is a new shared-memory
// block filled by FillScriptedFrame with the job's identifier.
class ScriptedVideoRenderer : public VideoRenderer, protected ScriptedObject {
 public:
  ScriptedVideoRenderer(std::weak_ptr<ScriptedBackend> backend, std::string sourceKey, size_t frameBytes)
      : ScriptedObject(std::move(backend), std::move(sourceKey)), mFrameBytes(frameBytes) {}

  void RenderVideo(RenderCallback callback, const kilncore::utility::Guid& identifier,
                   const RatioTime& time) override;
  void CancelVideoRender(const kilncore::utility::Guid& identifier) override;

 private:
  const size_t mFrameBytes;
};

}  // namespace tether::testing
