#pragma once

#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>

#include <kilncore/classref/Unknown.h>
#include <kilnmediatypes/TickTime.h>

#include <cstdint>

namespace KL {

// Background rendering of a video stream: a frame is started now and found
// later, ready, in the host's frame cache. Operations are in slot order.
class IAsyncVideoSource : public kilncore::classref::Unknown {
 public:
  ~IAsyncVideoSource() override;

  virtual bool CanRenderAsync() = 0;
  virtual int32_t RenderFrameAsyncAlias(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                                        const RL::BinaryData& prefs) = 0;
  // Starts rendering the frame and returns at once.
  virtual int32_t RenderFrameAsync(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                                   const RL::BinaryData& prefs) = 0;
  // Gives up the render of that frame, if one is under way.
  virtual int32_t CancelFrameRender(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                                    const RL::BinaryData& prefs) = 0;
  // True while a render of that frame is under way.
  virtual bool IsFramePending(kilnmediatypes::TickTime time, const RL::FrameFormat& format, int32_t hint,
                              const RL::BinaryData& prefs) = 0;
  virtual void AsyncNoOpA() = 0;
  virtual void AsyncNoOpB() = 0;

 protected:
  IAsyncVideoSource() = default;
};

}  // namespace KL
