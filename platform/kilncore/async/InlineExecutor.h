#pragma once

#include <kilncore/async/Executor.h>

namespace kilncore::async {

// Runs each task at once, on the calling thread.
class InlineExecutor final : public Executor {
 public:
  void Execute(std::function<void()> task) override;
};

}  // namespace kilncore::async
