#include "ScriptedVideoRenderer.h"

#include <processcoordination/SharedMemoryBinaryReference.h>
#include <tether/testing/ScriptedSignals.h>

namespace tether::testing {

void ScriptedVideoRenderer::RenderVideo(RenderCallback callback, const kilncore::utility::Guid& identifier,
                                        const RatioTime& time) {
  auto ticket = Begin(Operation::kRenderVideo, Key(), RenderVideoArgs{identifier, time});
  std::shared_ptr<processcoordination::BinaryReference> frame;
  if (ticket.behaviour.status == 0 || ticket.behaviour.keepResultOnFailure) {
    auto block = processcoordination::SharedMemoryBinaryReference::Create(mFrameBytes);
    FillScriptedFrame(block->Data(), block->GetSize(), identifier);
    frame = block;
  }
  Finish(ticket, Operation::kRenderVideo, Key(),
         [callback = std::move(callback), identifier, frame](const Behaviour& behaviour) {
           callback(identifier, Pick(behaviour, frame), behaviour.status);
         });
}

void ScriptedVideoRenderer::CancelVideoRender(const kilncore::utility::Guid& identifier) {
  Begin(Operation::kCancelVideoRender, Key(), JobArgs{identifier});
}

}  // namespace tether::testing
