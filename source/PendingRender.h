#pragma once

#include <RL/FrameFormat.h>
#include <RL/IPane.h>

#include <kilncore/async/Promise.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/WideString.h>

#include <boost/rational.hpp>

#include <cstdint>

namespace TetherMedia {

// One frame in flight: what was asked for, who waits for it, and what came
// back. Shared by boost::shared_ptr between the thread that asked and the
// client library's thread that answers.
//
// `time`, `format` and `appOptions` are set when the entry is made and never
// change afterwards, so any thread may read them. `retries` and `frame` are
// read and written under the source's state mutex.
struct PendingRender {
  // Failed attempts so far.
  int32_t retries = 0;
  // The time sent to the server, after the stretch adjustment.
  boost::rational<int64_t> time;
  // A copy of the wanted format.
  RL::FrameFormat format;
  // The render options text (or a per-clip source's number) at request time.
  kilncore::WideString appOptions;
  // Completed when the render ends; empty unless a blocking caller waits.
  kilncore::async::Promise<void> promise;
  // The finished frame; empty until then, and stored only after `promise`
  // has been completed.
  kilncore::classref::InterfaceRef<RL::IPane> frame;
};

}  // namespace TetherMedia
