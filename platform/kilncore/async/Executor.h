#pragma once

#include <functional>
#include <memory>

namespace kilncore::async {

// Where the continuations of a future state run. Every state carries the
// executor it was created with, and the states chained to it inherit it.
//
// A state hands each continuation to Execute, one call per continuation, in the
// order of attachment, right after it became ready (or right away when the
// continuation is attached to a state that is ready already). The task passed in
// never throws. An executor must run each task exactly once, and should not
// throw from Execute: a task it refuses is logged and lost.
class Executor {
 public:
  virtual ~Executor() = default;
  virtual void Execute(std::function<void()> task) = 0;
};

using ExecutorPtr = std::shared_ptr<Executor>;

// The executor that new states carry when none is given: an InlineExecutor, so
// continuations run at once on the thread that completes the state, or on the
// thread that attaches to a state that is ready already.
ExecutorPtr GetDefaultExecutor();

}  // namespace kilncore::async
